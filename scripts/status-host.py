#!/usr/bin/python3
"""A panel with a place for status items: StatusNotifier watcher and host in one.

Prints one JSON object a line: each item that comes {"event": "item", ...} and goes {"event":
"gone", ...}, and the answers to the commands on its input, which concern the latest item:
  menu           opens the menu: {"event": "answer", "items": [...]}
  click LABEL    opens the menu and chooses the entry: {"event": "answer", "found": true}
  activate       clicks the icon itself: {"event": "answer", "found": true}
What fails answers {"event": "answer", "error": "..."}.
"""

import json
import sys

from gi.repository import Gio, GLib

WATCHER, WATCHER_PATH = "org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher"
ITEM, MENU = "org.kde.StatusNotifierItem", "com.canonical.dbusmenu"
INTERFACE = f"""
<node><interface name="{WATCHER}">
  <method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
  <method name="RegisterStatusNotifierHost"><arg type="s" direction="in"/></method>
  <signal name="StatusNotifierHostRegistered"/>
  <property name="RegisteredStatusNotifierItems" type="as" access="read"/>
  <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
  <property name="ProtocolVersion" type="i" access="read"/>
</interface></node>
"""

bus = Gio.bus_get_sync(Gio.BusType.SESSION)
items = {}  # service: the path of its menu


def say(event, **rest):
    print(json.dumps({"event": event, **rest}), flush=True)


def call(service, path, interface, method, arguments, done):
    """Answers are waited for without standing still: an item asks its watcher things meanwhile."""
    def finished(_bus, result):
        try:
            done(bus.call_finish(result).unpack())
        except GLib.Error as error:
            say("answer", error=error.message)
    bus.call(service, path, interface, method, arguments, None, 0, 5000, None, finished)


def register(service):
    def describe(answer):
        properties = answer[0]
        items[service] = properties["Menu"]
        say("item", service=service, id=properties["Id"], title=properties["Title"],
            status=properties["Status"], toolTip=properties["ToolTip"][2],
            icon=properties["IconName"], sizes=[each[0] for each in properties["IconPixmap"]])

    def vanished(_bus, name):
        if items.pop(name, None):
            say("gone", service=name)

    call(service, "/StatusNotifierItem", "org.freedesktop.DBus.Properties", "GetAll",
         GLib.Variant("(s)", (ITEM,)), describe)
    Gio.bus_watch_name_on_connection(bus, service, 0, None, vanished)


def open_menu(done):
    """Hands the entries on, as a panel reads them: about to show, then the layout."""
    service, path = list(items.items())[-1]

    def laid_out(answer):
        _revision, (_id, _properties, children) = answer
        done(service, path, [{"id": number, **properties} for number, properties, _ in children])

    call(service, path, MENU, "AboutToShow", GLib.Variant("(i)", (0,)),
         lambda _: call(service, path, MENU, "GetLayout", GLib.Variant("(iias)", (0, -1, [])),
                        laid_out))


def click(label):
    def choose(service, path, entries):
        chosen = [entry["id"] for entry in entries if entry.get("label") == label]
        if not chosen:
            say("answer", found=False)
            return
        event = GLib.Variant("(isvu)", (chosen[0], "clicked", GLib.Variant("s", ""), 0))
        call(service, path, MENU, "Event", event, lambda _: say("answer", found=True))
    open_menu(choose)


def obey(_source, _condition):
    command, _, label = sys.stdin.readline().strip().partition(" ")
    if not command:
        return False
    if not items:
        say("answer", error="no item")
    elif command == "menu":
        open_menu(lambda _service, _path, entries: say("answer", items=entries))
    elif command == "click":
        click(label)
    elif command == "activate":
        call(list(items)[-1], "/StatusNotifierItem", ITEM, "Activate",
             GLib.Variant("(ii)", (0, 0)), lambda _: say("answer", found=True))
    return True


def serve(_bus, _sender, _path, _interface, method, parameters, invocation):
    if method == "RegisterStatusNotifierItem":
        register(parameters[0])
    invocation.return_value(None)


def read(_bus, _sender, _path, _interface, name):
    return {"RegisteredStatusNotifierItems": GLib.Variant("as", list(items)),
            "IsStatusNotifierHostRegistered": GLib.Variant("b", True),
            "ProtocolVersion": GLib.Variant("i", 0)}[name]


bus.register_object(WATCHER_PATH, Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0],
                    serve, read, None)
Gio.bus_own_name_on_connection(bus, WATCHER, 0, lambda *_: say("ready"), None)
GLib.io_add_watch(sys.stdin, GLib.IO_IN, obey)
GLib.MainLoop().run()
