"""A file that holds up whoever opens it, until the test lets it go."""

import fcntl
import os
import signal
import time


class HeldFile:
    """A lease on a file: the system makes everybody else wait who opens it, for as long as
    /proc/sys/fs/lease-break-time says (45 seconds). Looking at the file without opening it is
    free."""

    def __init__(self, path):
        # The system's word that somebody waits; it would end the process.
        signal.signal(signal.SIGIO, signal.SIG_IGN)
        self.file = os.open(path, os.O_RDONLY)
        fcntl.fcntl(self.file, fcntl.F_SETLEASE, fcntl.F_WRLCK)

    def wait(self, seconds):
        """Until somebody opens the file."""
        end = time.monotonic() + seconds
        while fcntl.fcntl(self.file, fcntl.F_GETLEASE) == fcntl.F_WRLCK:
            if time.monotonic() > end:
                raise AssertionError("nobody came to open the file that is held")
            time.sleep(0.01)

    def let_go(self):
        """Lets those go on who wait. May be called again."""
        if self.file is not None:
            os.close(self.file)
        self.file = None
