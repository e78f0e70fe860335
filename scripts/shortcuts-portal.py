#!/usr/bin/python3
"""Stands in for the desktop portal that keeps global shortcuts.

Its arguments are the interface's version and, where the user refuses every shortcut, "refuse".
Prints every call as a JSON line {"call": NAME, "arguments": [...]} and obeys lines on its input:
  press, release     the user presses or releases the keys of the bound shortcut
  trigger TEXT       the user gives it other keys
"""

import json
import os
import sys

from gi.repository import Gio, GLib

NAME, PATH = "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop"
SHORTCUTS = "org.freedesktop.portal.GlobalShortcuts"
INTERFACES = f"""
<node><interface name="{SHORTCUTS}">
  <method name="CreateSession"><arg type="a{{sv}}" direction="in"/><arg type="o" direction="out"/></method>
  <method name="ListShortcuts">
    <arg type="o" direction="in"/><arg type="a{{sv}}" direction="in"/><arg type="o" direction="out"/>
  </method>
  <method name="BindShortcuts">
    <arg type="o" direction="in"/><arg type="a(sa{{sv}})" direction="in"/><arg type="s" direction="in"/>
    <arg type="a{{sv}}" direction="in"/><arg type="o" direction="out"/>
  </method>
  <method name="ConfigureShortcuts">
    <arg type="o" direction="in"/><arg type="s" direction="in"/><arg type="a{{sv}}" direction="in"/>
  </method>
  <property name="version" type="u" access="read"/>
</interface>
<interface name="org.freedesktop.host.portal.Registry">
  <method name="Register"><arg type="s" direction="in"/><arg type="a{{sv}}" direction="in"/></method>
</interface>
<interface name="org.freedesktop.portal.Session"><method name="Close"/></interface></node>
"""

version, refuses = int(sys.argv[1]), "refuse" in sys.argv
bus = Gio.bus_get_sync(Gio.BusType.SESSION)
nodes = Gio.DBusNodeInfo.new_for_xml(INTERFACES)
session, shortcut, trigger = None, None, ""


def described():
    about = {"description": GLib.Variant("s", "as bound"),
             "trigger_description": GLib.Variant("s", trigger)}
    return [(shortcut, about)] if shortcut else []


def serve(_bus, sender, _path, _interface, method, parameters, invocation):
    arguments = parameters.unpack()
    if method in ("Register", "ConfigureShortcuts", "Close"):
        invocation.return_value(None)
    else:
        answer(sender, method, arguments, invocation)
    # Whoever reads of a call can rely on the answer being on its way.
    bus.flush_sync()
    print(json.dumps({"call": method, "arguments": arguments}), flush=True)


def answer(sender, method, arguments, invocation):
    global session, shortcut, trigger
    owner = sender[1:].replace(".", "_")
    request = f"{PATH}/request/{owner}/{arguments[-1]['handle_token']}"
    code, results = 0, {}
    if method == "CreateSession":
        session = f"{PATH}/session/{owner}/{arguments[0]['session_handle_token']}"
        bus.register_object(session, nodes.lookup_interface("org.freedesktop.portal.Session"),
                            serve, None, None)
        results["session_handle"] = GLib.Variant("s", session)
    elif method == "BindShortcuts" and refuses:
        code = 1
    elif method == "BindShortcuts":
        shortcut, options = arguments[1][0]
        trigger = f"Press {options['preferred_trigger']}"
    if method != "CreateSession" and code == 0:
        results["shortcuts"] = GLib.Variant("a(sa{sv})", described())
    # The answer before the call's own reply, as it can happen.
    bus.emit_signal(sender, request, "org.freedesktop.portal.Request", "Response",
                    GLib.Variant("(ua{sv})", (code, results)))
    invocation.return_value(GLib.Variant("(o)", (request,)))


def obey(_source, _condition):
    global trigger
    lines = os.read(0, 4096).decode().splitlines()
    for line in lines:
        command, _, text = line.partition(" ")
        if command == "trigger":
            trigger = text
            bus.emit_signal(None, PATH, SHORTCUTS, "ShortcutsChanged",
                            GLib.Variant("(oa(sa{sv}))", (session, described())))
        else:
            signal = {"press": "Activated", "release": "Deactivated"}[command]
            bus.emit_signal(None, PATH, SHORTCUTS, signal,
                            GLib.Variant("(osta{sv})", (session, shortcut, 1, {})))
    return bool(lines)


for interface in nodes.interfaces[:2]:
    bus.register_object(PATH, interface, serve, lambda *_: GLib.Variant("u", version), None)
Gio.bus_own_name_on_connection(bus, NAME, 0, None, None)
GLib.io_add_watch(sys.stdin, GLib.IO_IN, obey)
GLib.MainLoop().run()
