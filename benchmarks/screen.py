"""The screen as another program sees it: when a window has been painted, and a mouse that presses."""

import select
import time

from Xlib import X, display
from Xlib.ext import damage, xtest


class Screen:
    def __init__(self):
        self.display = display.Display()
        self.root = self.display.screen().root
        self.display.damage_query_version()
        # For the whole screen, so that nothing is painted unnoticed before a window is known.
        self.damage = self.root.damage_create(damage.DamageReportRawRectangles)
        self.display.sync()

    def forget(self):
        """Discards the events reported so far."""
        self.display.sync()
        while self.display.pending_events():
            self.display.next_event()

    def first_paint(self, least_pixels, patience=20.0):
        """Waits until at least `least_pixels` are painted at once; returns that time, in seconds of the monotonic clock."""
        deadline = time.monotonic() + patience
        while True:
            while self.display.pending_events():
                event = self.display.next_event()
                now = time.monotonic()
                area = getattr(event, "area", None)
                if area is not None and area.width * area.height >= least_pixels:
                    return now
            left = deadline - time.monotonic()
            if left <= 0:
                raise TimeoutError("nothing was painted")
            select.select([self.display.fileno()], [], [], left)

    def windows(self):
        return [window for window in self.root.query_tree().children
                if window.get_attributes().map_state == X.IsViewable]

    def picture(self):
        """The geometry and the pixels of the largest window."""
        window = max(self.windows(), key=lambda found: found.get_geometry().width * found.get_geometry().height)
        shape = window.get_geometry()
        image = self.root.get_image(shape.x, shape.y, shape.width, shape.height, X.ZPixmap, 0xffffffff)
        return shape, image.data

    def press(self, x, y):
        """Clicks there. Returns when the button was released, in nanoseconds: that is when a button acts."""
        xtest.fake_input(self.display, X.MotionNotify, x=x, y=y)
        self.display.sync()
        time.sleep(0.1)      # as long as a hand takes, at least
        xtest.fake_input(self.display, X.ButtonPress, 1)
        self.display.sync()
        time.sleep(0.05)
        released = time.monotonic_ns()
        xtest.fake_input(self.display, X.ButtonRelease, 1)
        self.display.sync()
        return released
