extends Node2D
## The sky, the sun and two rows of hills that move more slowly than the level.


func _process(_delta: float) -> void:
	queue_redraw()


func _draw() -> void:
	var size := get_viewport_rect().size
	var camera := get_viewport().get_camera_2d()
	var shift := camera.get_screen_center_position().x if camera else 0.0
	var top := Color(0.36, 0.66, 0.93)
	var bottom := Color(0.86, 0.95, 0.98)
	draw_polygon(
		PackedVector2Array([Vector2.ZERO, Vector2(size.x, 0), size, Vector2(0, size.y)]),
		PackedColorArray([top, top, bottom, bottom]))
	draw_circle(Vector2(size.x * 0.8, size.y * 0.22), 46.0, Color(1.0, 0.93, 0.6))
	_draw_hills(size, shift * 0.15, 0.62, 70.0, 0.006, Color(0.55, 0.78, 0.66))
	_draw_hills(size, shift * 0.35, 0.74, 55.0, 0.009, Color(0.4, 0.69, 0.47))


func _draw_hills(size: Vector2, shift: float, level: float, height: float, scale: float, colour: Color) -> void:
	var outline := PackedVector2Array([Vector2(0, size.y)])
	for step in 65:
		var x := size.x * step / 64.0
		var along := (x + shift) * scale
		outline.append(Vector2(x, size.y * level - height * (sin(along) + 0.4 * sin(along * 2.3 + 1.0))))
	outline.append(size)
	draw_colored_polygon(outline, colour)
