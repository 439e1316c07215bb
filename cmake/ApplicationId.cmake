# The desktop application ID: the name of the menu entry, which the windows report too.
set(application_id io.github.kestrelwood.vantor_platformer)
