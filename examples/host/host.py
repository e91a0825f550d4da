#!/usr/bin/env python3
"""A desktop application around the library: a main window that starts a build, and two tool windows
that belong to it.

    host.py zatlib.dll control.ini

On Windows a window; elsewhere the build runs at once, with its progress on the terminal.
"""

import ctypes
import os
import sys


def load(path):
    """The library with the types of the functions that are used here."""
    library = ctypes.CDLL(os.path.abspath(path))
    library.ZAT_NWB_GetLibVersion.argtypes = [ctypes.c_char_p]
    library.ZAT_NWB_GetLibVersion.restype = ctypes.c_int
    library.ZAT_NWB_BuildRoadNetworksEx.argtypes = [ctypes.c_void_p, ctypes.c_char_p]
    library.ZAT_NWB_BuildRoadNetworksEx.restype = ctypes.c_int
    return library


def banner(library):
    text = ctypes.create_string_buffer(34)
    library.ZAT_NWB_GetLibVersion(text)
    return text.value.decode("ascii")


def build(library, owner, control):
    """Builds the map of a control file; True on success. The library takes the full path in the
    system's code page; paths inside the file count from the current folder."""
    path = os.path.abspath(control)
    os.chdir(os.path.dirname(path))
    encoding = "mbcs" if sys.platform == "win32" else "utf-8"
    return library.ZAT_NWB_BuildRoadNetworksEx(owner, path.encode(encoding)) != 0


def show_window(library, control):
    import tkinter  # pylint: disable=import-outside-toplevel

    main = tkinter.Tk()
    main.title(banner(library))
    main.geometry("560x200+60+60")
    path = tkinter.StringVar(value=control)
    result = tkinter.StringVar()
    tkinter.Label(main, text="Control file:").place(x=12, y=12)
    tkinter.Entry(main, textvariable=path).place(x=92, y=12, width=440)
    button = tkinter.Button(main, text="Build the map")
    button.place(x=92, y=48)
    tkinter.Label(main, textvariable=result).place(x=224, y=52)
    for i, title in enumerate(["Layers", "Search"]):
        tool = tkinter.Toplevel(main)
        tool.title(title)
        tool.geometry("200x120+640+%d" % (60 + 170 * i))
        tool.transient(main)  # the main window owns it

    def start():
        button.config(state=tkinter.DISABLED)
        result.set("Building ...")
        main.update()
        # The window that Windows knows is the frame around the one that tkinter draws in.
        done = build(library, int(main.frame(), 16), path.get())
        result.set("The map is built." if done else "No map was built; the log tells why.")
        button.config(state=tkinter.NORMAL)

    button.config(command=start)
    main.mainloop()
    return 0


def main():
    if len(sys.argv) != 3:
        print(__doc__, file=sys.stderr)
        return 2
    library = load(sys.argv[1])
    if sys.platform == "win32":
        return show_window(library, sys.argv[2])
    print(banner(library))
    if not build(library, None, sys.argv[2]):
        print("No map was built; the log tells why.", file=sys.stderr)
        return 1
    print("The map is built.")
    return 0


if __name__ == "__main__":
    sys.exit(main())
