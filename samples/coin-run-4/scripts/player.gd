extends CharacterBody2D
## The runner: gravity, a jump that forgives a late or an early key, and a figure drawn by hand.

const SPEED := 300.0
const ACCELERATION := 2600.0
const JUMP := 900.0
const GRAVITY := 1900.0
## How long after the edge, and before the ground, a jump still counts.
const FORGIVENESS := 0.12

var since_ground := 1.0
var since_jump_key := 1.0
var facing := 1.0
var stride := 0.0


func _ready() -> void:
	var shape := CollisionShape2D.new()
	var capsule := CapsuleShape2D.new()
	capsule.radius = 16.0
	capsule.height = 56.0
	shape.shape = capsule
	add_child(shape)
	var camera := Camera2D.new()
	camera.position = Vector2(0, -80)
	camera.position_smoothing_enabled = true
	camera.limit_left = 0
	camera.limit_bottom = 640
	add_child(camera)


func _physics_process(delta: float) -> void:
	var direction := Input.get_axis("ui_left", "ui_right")
	velocity.x = move_toward(velocity.x, direction * SPEED, ACCELERATION * delta)
	velocity.y += GRAVITY * delta
	since_ground = 0.0 if is_on_floor() else since_ground + delta
	since_jump_key += delta
	if since_jump_key < FORGIVENESS and since_ground < FORGIVENESS:
		velocity.y = -JUMP
		since_jump_key = 1.0
		since_ground = 1.0
	if direction != 0.0:
		facing = signf(direction)
	stride += absf(velocity.x) * delta * 0.045
	move_and_slide()
	queue_redraw()


func _unhandled_input(event: InputEvent) -> void:
	if event.is_action_pressed("ui_up") or event.is_action_pressed("ui_accept"):
		since_jump_key = 0.0


func _draw() -> void:
	var swing := sin(stride) * clampf(absf(velocity.x) / SPEED, 0.0, 1.0)
	if not is_on_floor():
		swing = 0.8
	var lean := 5.0 * facing * clampf(absf(velocity.x) / SPEED, 0.0, 1.0)
	var hip := Vector2(0, 4)
	var neck := Vector2(lean, -14)
	var skin := Color(0.98, 0.83, 0.67)
	var shirt := Color(0.86, 0.27, 0.24)
	var trousers := Color(0.17, 0.24, 0.45)
	_limb(hip, hip + Vector2(12.0 * swing * facing, 24), trousers, 8.0)
	_limb(hip, hip + Vector2(-12.0 * swing * facing, 24), trousers.darkened(0.2), 8.0)
	_limb(neck, neck + Vector2(-13.0 * swing * facing, 15), skin.darkened(0.1), 6.0)
	_limb(hip, neck, shirt, 16.0)
	_limb(neck, neck + Vector2(13.0 * swing * facing, 15), skin, 6.0)
	draw_circle(neck + Vector2(lean * 0.5, -10), 10.0, skin)
	draw_arc(neck + Vector2(lean * 0.5, -11), 9.0, PI, TAU, 16, Color(0.3, 0.18, 0.1), 5.0)


func _limb(from: Vector2, to: Vector2, colour: Color, width: float) -> void:
	draw_line(from, to, colour, width, true)
	draw_circle(from, width / 2.0, colour)
	draw_circle(to, width / 2.0, colour)
