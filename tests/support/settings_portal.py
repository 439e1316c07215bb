"""A stand-in for the desktop portal, with the one interface that tells the desktop's settings. It behaves as it is told:

    settings_portal.py answers     tells the settings and announces each change
    settings_portal.py fails       returns an error
    settings_portal.py is-silent   never answers

A number after that is the colour scheme that is set from the beginning; otherwise nothing is.
"""

import sys

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

PATH = "/org/freedesktop/portal/desktop"
SETTINGS = "org.freedesktop.portal.Settings"


class Portal(dbus.service.Object):
    def __init__(self, bus, behaviour, scheme=None):
        super().__init__(bus, PATH)
        self.behaviour = behaviour
        self.settings = {"org.freedesktop.appearance": {"color-scheme": dbus.UInt32(scheme)}} if scheme else {}

    @dbus.service.method(SETTINGS, in_signature="as", out_signature="a{sa{sv}}", async_callbacks=("answer", "fail"))
    def ReadAll(self, namespaces, answer, fail):
        if self.behaviour == "fails":
            fail(dbus.DBusException("No.", name="org.freedesktop.portal.Error.NotAllowed"))
        elif self.behaviour == "answers":
            answer(dbus.Dictionary({name: dbus.Dictionary(values, signature="sv")
                                    for name, values in self.settings.items() if name in namespaces},
                                   signature="sa{sv}"))

    @dbus.service.signal(SETTINGS, signature="ssv")
    def SettingChanged(self, namespace, key, value):
        pass

    @dbus.service.method("org.example.Test", in_signature="ssv", out_signature="b")
    def Set(self, namespace, key, value):
        self.settings.setdefault(namespace, {})[key] = value
        self.SettingChanged(namespace, key, value)
        return True


dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
session = dbus.SessionBus()
portal = Portal(session, *sys.argv[1:])
name = dbus.service.BusName("org.freedesktop.portal.Desktop", session)
GLib.MainLoop().run()
