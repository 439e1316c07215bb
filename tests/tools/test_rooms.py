"""Whether docs/architecture.md draws and lists the dependencies that the rooms' CMake files state."""

import re
import unittest

from project import PROJECT



def reachable(arrows):
    """For each room, all rooms reachable along `arrows`, which maps a room to those that its arrows lead to."""
    found = {room: set(others) for room, others in arrows.items()}
    for _ in arrows:     # each time one arrow further
        found = {room: others.union(*(arrows[other] for other in others)) for room, others in found.items()}
    return found


class Rooms(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.text = (PROJECT / "docs/architecture.md").read_text("utf-8")
        drawing = re.search(r"```mermaid\nflowchart LR\n(.*?)```", cls.text, re.DOTALL)[1]
        cls.drawn = {}
        for line in drawing.split("\n"):
            chain = line.replace("-->", " ").split()
            for room in chain:
                cls.drawn.setdefault(room, set())
            for room, other in zip(chain, chain[1:]):
                cls.drawn[room].add(other)

        lines = {}
        for file in (PROJECT / "src").glob("*/**/CMakeLists.txt"):
            found = re.search(r"^add_room\((\w+) USES (.*?)\bSOURCES", file.read_text("utf-8"), re.DOTALL | re.M)
            assert found and found[1] == file.parent.name, file
            lines[found[1]] = set(found[2].split())
        cls.linked = {room: uses & lines.keys() for room, uses in lines.items()}

    def test_every_room_is_drawn_and_no_other(self):
        self.assertEqual(set(self.drawn), set(self.linked))

    def test_the_table_lists_every_room_with_all_that_it_may_include(self):
        rows = re.findall(r"^\| `(\w+)` \|[^|]*\|([^|]*)\|$", self.text, re.MULTILINE)
        self.assertEqual({room: set(re.findall(r"`(\w+)`", others)) for room, others in rows}, self.linked)

    def test_every_arrow_is_a_link_line(self):
        for room, others in self.drawn.items():
            self.assertLessEqual(others, self.linked[room], room)

    def test_what_a_room_may_see_is_what_can_be_reached_along_the_arrows(self):
        self.assertEqual(reachable(self.drawn), reachable(self.linked))

    def test_no_room_sees_itself(self):
        for room, seen in reachable(self.linked).items():
            self.assertNotIn(room, seen)


if __name__ == "__main__":
    unittest.main()
