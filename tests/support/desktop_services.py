"""Message buses of the test's own, and the services of a desktop on them: logind and the notification service of
python-dbusmock, and the portal, for which it has no template."""

import json
import os
import socket
import subprocess
import sys
import time
from pathlib import Path

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib

PATIENCE = 60     # seconds; the limit for anything that happens at once

# Without the system's services: none of this machine's own may be started and answer.
BUS = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:dir={folder}</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
"""


def wait_for(question, seconds=PATIENCE):
    end = time.monotonic() + seconds
    while not (answer := question()):
        if time.monotonic() > end:
            raise AssertionError(f"{question} was not answered within {seconds} seconds")
        time.sleep(0.02)
    return answer


class Bus:
    """A connection to a bus, as another program has it."""

    def __init__(self, address):
        self.address = address
        self.connection = Gio.DBusConnection.new_for_address_sync(
            address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION,
            None, None)
        self.connection.set_exit_on_close(False)

    def call(self, service, path, interface, method, arguments=None):
        answer = self.connection.call_sync(service, path, interface, method, arguments, None,
                                           Gio.DBusCallFlags.NO_AUTO_START, PATIENCE * 1000, None)
        return answer.unpack()

    def has(self, service):
        path, name = "/org/freedesktop/DBus", "org.freedesktop.DBus"
        return self.call(name, path, name, "NameHasOwner", GLib.Variant("(s)", (service,)))[0]


class OwnBus(Bus):
    """A bus that only the test uses, until `close`."""

    def __init__(self, folder):
        folder.mkdir(parents=True)
        (folder / "bus.conf").write_text(BUS.format(folder=folder))
        self.daemon = subprocess.Popen(["dbus-daemon", f"--config-file={folder}/bus.conf", "--nofork",
                                        "--print-address"],
                                       stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        super().__init__(self.daemon.stdout.readline().strip())

    def close(self):
        self.daemon.kill()
        self.daemon.wait()
        self.daemon.stdout.close()


class SilentBus:
    """Accepts connections as a bus would, and never answers."""

    def __init__(self, folder):
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.bind(str(folder / "silent"))
        self.socket.listen()
        self.address = f"unix:path={folder}/silent"

    def wait_for_caller(self):
        self.socket.settimeout(60)
        return self.socket.accept()[0]


class Service:
    """A process that has a name on a bus, until `close`."""

    def __init__(self, bus, name, path, *command):
        self.bus, self.name, self.path = bus, name, path
        # Whichever bus the service belongs to by its nature, it is on this one.
        environment = dict(os.environ, DBUS_SESSION_BUS_ADDRESS=bus.address, DBUS_SYSTEM_BUS_ADDRESS=bus.address)
        self.process = subprocess.Popen([sys.executable, "-B", *command], env=environment, stdin=subprocess.DEVNULL,
                                        stdout=subprocess.DEVNULL)
        wait_for(lambda: bus.has(name))

    def ask(self, interface, method, arguments=None):
        return self.bus.call(self.name, self.path, interface, method, arguments)[0]

    def calls(self, method):
        """The arguments of each call of `method`, on a service of python-dbusmock."""
        calls = self.ask("org.freedesktop.DBus.Mock", "GetMethodCalls", GLib.Variant("(s)", (method,)))
        return [arguments for _, arguments in calls]

    def close(self):
        self.process.kill()
        self.process.wait()
        if not self.bus.connection.is_closed():
            wait_for(lambda: not self.bus.has(self.name))


class Logind(Service):
    def __init__(self, bus):
        super().__init__(bus, "org.freedesktop.login1", "/org/freedesktop/login1",
                         "-m", "dbusmock", "--template", "logind")

    def held(self):
        """For each inhibitor: what, who, why and how."""
        return [inhibitor[:4] for inhibitor in self.ask("org.freedesktop.login1.Manager", "ListInhibitors")]


class Notifications(Service):
    def __init__(self, bus, capabilities="body body-markup"):
        super().__init__(bus, "org.freedesktop.Notifications", "/org/freedesktop/Notifications", "-m", "dbusmock",
                         "--template", "notification_daemon",
                         "--parameters", json.dumps({"capabilities": capabilities}))

    def shown(self):
        """For each request, in order: the number that it replaces, the summary and the body."""
        return [(replaced, summary, body) for _, replaced, _, summary, body, *_ in self.calls("Notify")]

    def closed(self):
        """The numbers of those that were closed."""
        return [number for number, in self.calls("CloseNotification")]


class Portal(Service):
    def __init__(self, bus, behaviour="answers"):
        super().__init__(bus, "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
                         str(Path(__file__).with_name("portal.py")), behaviour)

    def held(self):
        """For each inhibition: the flags and the reason."""
        return self.ask("org.example.Test", "Held")


class SettingsPortal(Service):
    def __init__(self, bus, *behaviour):
        super().__init__(bus, "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
                         str(Path(__file__).with_name("settings_portal.py")), *behaviour)

    def set(self, namespace, key, value):
        """`value` is a GLib.Variant."""
        self.ask("org.example.Test", "Set", GLib.Variant("(ssv)", (namespace, key, value)))


class Dock:
    """Reads the progress that programs show on their entries."""

    def __init__(self, bus):
        self.bus = bus
        self.updates = []       # (seconds, entry, properties)
        bus.connection.signal_subscribe(None, "com.canonical.Unity.LauncherEntry", "Update", None, None,
                                        Gio.DBusSignalFlags.NONE, self.note)

    def note(self, _bus, _sender, _path, _interface, _signal, arguments):
        self.updates.append((time.monotonic(), *arguments.unpack()))

    def seen(self):
        """All updates until now."""
        context = GLib.MainContext.default()
        while context.pending():
            context.iteration(False)
        return self.updates

    def fractions(self):
        """The shown fractions until now, None where none is shown."""
        return [properties["progress"] if properties["progress-visible"] else None
                for _, _, properties in self.seen()]
