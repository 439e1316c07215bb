extends Node2D
## The game itself: builds the levels, counts coins and seconds, keeps the best times.

const Levels := preload("res://scripts/levels.gd")
const Player := preload("res://scripts/player.gd")
const Backdrop := preload("res://scripts/backdrop.gd")
const SoilPicture := preload("res://pictures/soil.png")
const GroundPicture := preload("res://pictures/ground.png")
const CoinPicture := preload("res://pictures/coin.png")
const FlagPicture := preload("res://pictures/flag.png")
const TILE := 64.0
const SAVE := "user://progress.cfg"

var level := 0
var coins_left := 0
var coins_found := 0
var seconds := 0.0
var finished := false
var progress := ConfigFile.new()
var stage: Node2D
var player: CharacterBody2D
var headline := Label.new()
var hint := Label.new()


func _ready() -> void:
	progress.load(SAVE)
	progress.set_value("player", "starts", int(progress.get_value("player", "starts", 0)) + 1)
	progress.save(SAVE)
	var sky := CanvasLayer.new()
	sky.layer = -1
	sky.add_child(Backdrop.new())
	add_child(sky)
	_add_captions()
	_start_level(0)


func _process(delta: float) -> void:
	if finished:
		return
	seconds += delta
	headline.text = "Level %d   Coins %d of %d   %.1f s" % [
		level + 1, coins_found, coins_found + coins_left, seconds]
	if player.position.y > 1400.0:
		_start_level(level)


## By event, not by state: a tap between two frames of a slow machine counts, too.
func _unhandled_input(event: InputEvent) -> void:
	if event.is_action_pressed("ui_cancel"):
		get_tree().quit()
	elif finished and event.is_action_pressed("ui_accept"):
		_start_level((level + 1) % Levels.ALL.size())


func _start_level(number: int) -> void:
	level = number
	coins_left = 0
	coins_found = 0
	seconds = 0.0
	finished = false
	hint.text = "Arrow keys run and jump. Collect every coin, then touch the flag."
	if stage:
		stage.queue_free()
	stage = Node2D.new()
	add_child(stage)
	var rows: Array = Levels.ALL[number]
	for y in rows.size():
		for x in rows[y].length():
			_place(rows[y][x], Vector2(x, y) * TILE, y > 0 and rows[y - 1][x] == "#")
	print("Level %d of %d" % [level + 1, Levels.ALL.size()])


func _place(kind: String, at: Vector2, is_covered: bool) -> void:
	match kind:
		"#":
			_add_ground(at, SoilPicture if is_covered else GroundPicture)
		"o":
			coins_left += 1
			var coin := _add_area(CoinPicture, at)
			coin.body_entered.connect(func(_body: Node2D) -> void: _take(coin))
		"G":
			_add_area(FlagPicture, at).body_entered.connect(func(_body: Node2D) -> void: _reach_flag())
		"P":
			player = Player.new()
			player.position = at + Vector2(TILE, TILE) / 2.0
			stage.add_child(player)


func _add_ground(at: Vector2, texture: Texture2D) -> void:
	var body := StaticBody2D.new()
	body.position = at
	body.add_child(_box(Vector2(TILE, TILE)))
	body.add_child(_picture(texture))
	stage.add_child(body)


func _add_area(texture: Texture2D, at: Vector2) -> Area2D:
	var area := Area2D.new()
	area.position = at
	area.add_child(_box(Vector2(TILE, TILE) * 0.9))
	area.add_child(_picture(texture))
	stage.add_child(area)
	return area


func _box(size: Vector2) -> CollisionShape2D:
	var shape := CollisionShape2D.new()
	var rectangle := RectangleShape2D.new()
	rectangle.size = size
	shape.shape = rectangle
	shape.position = Vector2(TILE, TILE) / 2.0
	return shape


func _picture(texture: Texture2D) -> Sprite2D:
	var sprite := Sprite2D.new()
	sprite.texture = texture
	sprite.centered = false
	return sprite


func _take(coin: Area2D) -> void:
	coin.queue_free()
	coins_left -= 1
	coins_found += 1


func _reach_flag() -> void:
	if finished:
		return
	if coins_left > 0:
		hint.text = "%d coin%s still out there." % [coins_left, "" if coins_left == 1 else "s"]
		return
	finished = true
	player.set_physics_process(false)
	var key := "level_%d" % (level + 1)
	var best: float = progress.get_value("best", key, INF)
	if seconds < best:
		progress.set_value("best", key, seconds)
		progress.save(SAVE)
	hint.text = "Done in %.1f s, best %.1f s. Space goes on." % [seconds, minf(seconds, best)]
	print("Level %d done in %.1f s" % [level + 1, seconds])


func _add_captions() -> void:
	var layer := CanvasLayer.new()
	var ink := Color(0.11, 0.19, 0.33)
	headline.position = Vector2(24, 16)
	headline.add_theme_font_size_override("font_size", 28)
	headline.add_theme_color_override("font_color", ink)
	hint.position = Vector2(24, 56)
	hint.add_theme_font_size_override("font_size", 18)
	hint.add_theme_color_override("font_color", ink)
	layer.add_child(headline)
	layer.add_child(hint)
	add_child(layer)
