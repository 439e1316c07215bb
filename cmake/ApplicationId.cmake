# What desktops know the launcher by: the name of its menu entry, which its windows say too.
set(application_id io.github.kestrelwood.vantor_platformer)
