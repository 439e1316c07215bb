"""A stand-in for the desktop portal, with the one interface that keeps the computer awake. It behaves as it is told:

    portal.py answers      holds what it is asked to hold, until the request is closed or the caller is gone
    portal.py refuses      answers, but reports that the desktop refused
    portal.py fails        returns an error
    portal.py is-silent    holds, but never answers
"""

import sys

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

PATH = "/org/freedesktop/portal/desktop"
REFUSED = dbus.UInt32(2)


class Request(dbus.service.Object):
    def __init__(self, bus, path, on_close):
        super().__init__(bus, path)
        self.close = on_close

    @dbus.service.method("org.freedesktop.portal.Request")
    def Close(self):
        self.remove_from_connection()
        self.close()

    @dbus.service.signal("org.freedesktop.portal.Request", signature="ua{sv}")
    def Response(self, result, details):
        pass


class Portal(dbus.service.Object):
    def __init__(self, bus, behaviour):
        super().__init__(bus, PATH)
        self.bus, self.behaviour = bus, behaviour
        self.held = {}

    @dbus.service.method("org.freedesktop.portal.Inhibit", in_signature="sua{sv}", out_signature="o",
                         sender_keyword="sender", async_callbacks=("answer", "fail"))
    def Inhibit(self, _window, flags, options, sender, answer, fail):
        path = f"{PATH}/request/{sender[1:].replace('.', '_')}/{options['handle_token']}"
        if self.behaviour == "fails":
            fail(dbus.DBusException("No.", name="org.freedesktop.portal.Error.Failed"))
            return
        request = Request(self.bus, path, lambda: self.held.pop(path, None))
        if self.behaviour == "refuses":
            answer(path)
            GLib.idle_add(lambda: request.Response(REFUSED, dbus.Dictionary(signature="sv")))
            return
        self.held[path] = (flags, options["reason"])
        self.bus.watch_name_owner(sender, lambda owner: owner or self.held.pop(path, None))
        if self.behaviour == "answers":
            answer(path)

    @dbus.service.method("org.example.Test", out_signature="a(us)")
    def Held(self):
        return list(self.held.values())


dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
session = dbus.SessionBus()
portal = Portal(session, sys.argv[1])
name = dbus.service.BusName("org.freedesktop.portal.Desktop", session)
GLib.MainLoop().run()
