#!/usr/bin/python3
"""A tray's StatusNotifierWatcher for tests, on the session bus it is started on.

It takes the name org.kde.StatusNotifierWatcher, says a host (a tray that draws
items) is there, keeps the items that register, each as "<bus name><object
path>", and forgets an item when its program leaves the bus. Each registration
is also printed on a line of its own, for a test's failure message.
"""

import sys

import dbus
import dbus.service
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

NAME = "org.kde.StatusNotifierWatcher"
PATH = "/StatusNotifierWatcher"
DEFAULT_ITEM_PATH = "/StatusNotifierItem"


class Watcher(dbus.service.Object):
    def __init__(self, bus):
        super().__init__(bus, PATH)
        self.bus = bus
        self.items = []
        bus.add_signal_receiver(self.owner_changed, signal_name="NameOwnerChanged",
                                dbus_interface="org.freedesktop.DBus", path="/org/freedesktop/DBus")

    @dbus.service.method(NAME, in_signature="s", out_signature="", sender_keyword="sender")
    def RegisterStatusNotifierItem(self, service, sender=None):
        # An item names either its object path (on the caller's connection) or a bus name.
        if service.startswith("/"):
            item = sender + service
        else:
            item = service + DEFAULT_ITEM_PATH
        if item not in self.items:
            self.items.append(item)
        print("registered " + item, flush=True)
        self.StatusNotifierItemRegistered(item)

    @dbus.service.method(NAME, in_signature="s", out_signature="")
    def RegisterStatusNotifierHost(self, service):
        self.StatusNotifierHostRegistered()

    @dbus.service.signal(NAME, signature="s")
    def StatusNotifierItemRegistered(self, item):
        pass

    @dbus.service.signal(NAME, signature="s")
    def StatusNotifierItemUnregistered(self, item):
        pass

    @dbus.service.signal(NAME, signature="")
    def StatusNotifierHostRegistered(self):
        pass

    def properties(self):
        return {
            "RegisteredStatusNotifierItems": dbus.Array(self.items, signature="s"),
            "IsStatusNotifierHostRegistered": dbus.Boolean(True),
            "ProtocolVersion": dbus.Int32(0),
        }

    @dbus.service.method(dbus.PROPERTIES_IFACE, in_signature="ss", out_signature="v")
    def Get(self, interface, name):
        values = self.properties()
        if interface != NAME or name not in values:
            raise dbus.exceptions.DBusException("no property " + name,
                                                name="org.freedesktop.DBus.Error.UnknownProperty")
        return values[name]

    @dbus.service.method(dbus.PROPERTIES_IFACE, in_signature="s", out_signature="a{sv}")
    def GetAll(self, interface):
        return self.properties() if interface == NAME else {}

    def owner_changed(self, name, old_owner, new_owner):
        if new_owner or not old_owner:
            return
        for item in [i for i in self.items if i.startswith(old_owner + "/") or i.startswith(name + "/")]:
            self.items.remove(item)
            print("unregistered " + item, flush=True)
            self.StatusNotifierItemUnregistered(item)


def main():
    DBusGMainLoop(set_as_default=True)
    bus = dbus.SessionBus()
    watcher = Watcher(bus)
    # The name last, so whoever sees it taken finds the object ready.
    name = dbus.service.BusName(NAME, bus, do_not_queue=True)
    print("watching as " + bus.get_unique_name(), flush=True)
    loop = GLib.MainLoop()
    try:
        loop.run()
    except KeyboardInterrupt:
        pass
    del name, watcher
    return 0


if __name__ == "__main__":
    sys.exit(main())
