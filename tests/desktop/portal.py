#!/usr/bin/env python3
"""portal.py FILE NOTE: a desktop portal whose user always chooses FILE; it is on the message bus of the
environment, and says "ready". What it was asked goes to NOTE."""

import json
import pathlib
import sys

from gi.repository import Gio, GLib

INTERFACES = """<node><interface name='org.freedesktop.portal.FileChooser'>
<method name='OpenFile'>
<arg type='s' name='parent_window' direction='in'/>
<arg type='s' name='title' direction='in'/>
<arg type='a{sv}' name='options' direction='in'/>
<arg type='o' name='handle' direction='out'/>
</method>
<property name='version' type='u' access='read'/>
</interface>
<interface name='org.freedesktop.portal.Settings'>
<method name='ReadAll'>
<arg type='as' name='namespaces' direction='in'/>
<arg type='a{sa{sv}}' name='value' direction='out'/>
</method>
<property name='version' type='u' access='read'/>
</interface></node>"""
PATH = "/org/freedesktop/portal/desktop"


class Portal:
    def __init__(self, file, note):
        self._file = pathlib.Path(file)
        self._note = pathlib.Path(note)
        self._loop = GLib.MainLoop()
        self._bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        interfaces = Gio.DBusNodeInfo.new_for_xml(INTERFACES).interfaces
        for interface, method in zip(interfaces, [self._open_file, self._read_all]):
            self._bus.register_object(PATH, interface, method, lambda *_: GLib.Variant("u", 3),
                                      None)
        Gio.bus_own_name_on_connection(self._bus, "org.freedesktop.portal.Desktop",
                                       Gio.BusNameOwnerFlags.NONE, self._ready, None)

    def _ready(self, *_):
        print("ready", flush=True)

    def _open_file(self, _bus, sender, _path, _interface, _method, parameters, invocation):
        parent, title, options = parameters.unpack()
        self._note.write_text(json.dumps({"parent": parent, "title": title,
                                          "filters": options.get("filters")}))
        token = options.get("handle_token", "t")
        handle = f"{PATH}/request/{sender[1:].replace('.', '_')}/{token}"
        invocation.return_value(GLib.Variant("(o)", (handle,)))
        results = {"uris": GLib.Variant("as", [self._file.as_uri()])}
        # A user is slower than we are: whoever asked may listen for the answer only when it knows the
        # handle. So the answer is given again and again.
        GLib.timeout_add(100, lambda: self._bus.emit_signal(
            sender, handle, "org.freedesktop.portal.Request", "Response",
            GLib.Variant("(ua{sv})", (0, results))))

    @staticmethod
    def _read_all(*arguments):
        """The user has no settings."""
        invocation = arguments[-1]
        invocation.return_value(GLib.Variant("(a{sa{sv}})", ({},)))

    def run(self):
        self._loop.run()


if __name__ == "__main__":
    Portal(*sys.argv[1:]).run()
