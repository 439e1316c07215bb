"""Whether what the player reads stands in the sources where a search for it finds it: each sentence on one line."""

import re
import unittest

from project import PROJECT

LITERAL = re.compile(r'"((?:[^"\\\n]|\\.)*)"')


def sources():
    for file in sorted((PROJECT / "src").rglob("*")):
        if file.suffix in (".cpp", ".h", ".mm"):
            yield file, file.read_text("utf-8")


def literals(text):
    """The string literals in `text`, as the player reads them."""
    for literal in LITERAL.findall(text):
        literal = re.sub(r"\\u([0-9a-fA-F]{4})", lambda code: chr(int(code[1], 16)), literal)
        yield literal.replace('\\"', '"')


class Sentences(unittest.TestCase):
    def test_every_sentence_is_found_in_one_piece(self):
        found = {literal for _, text in sources() for literal in literals(text)}

        def stands(sentence):
            return sentence in found or len(sentence) > 12 and any(sentence in literal for literal in found)
        sentences = (PROJECT / "tests/tools/sentences.txt").read_text("utf-8").splitlines()
        self.assertGreater(len(sentences), 90)
        self.assertEqual([sentence for sentence in sentences if not stands(sentence)], [])

    def test_no_text_goes_on_in_another_literal(self):
        for file, text in sources():
            if file.suffix != ".h":
                broken = re.search(r'"(?:[^"\\\n]|\\.)+"\s*\n\s*"(?:[^"\\\n]|\\.)*"', text)
                self.assertIsNone(broken, file)


if __name__ == "__main__":
    unittest.main()
