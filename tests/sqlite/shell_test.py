"""The extension in SQLite's shell and in Python's own module, as people use it.

Called as: shell_test.py EXTENSION PAGE. Every example of PAGE that is shown with its answers is run in the shell.
"""

import re
import shutil
import sqlite3
import subprocess
import sys
import threading
import unittest

EXTENSION = ""
PAGE = ""


def shell(*lines):
    """What the shell prints for these lines, the extension loaded before."""
    done = subprocess.run(
        ["sqlite3", "-batch", ":memory:"], input="\n".join((f".load '{EXTENSION}'",) + lines) + "\n",
        capture_output=True, text=True, encoding="utf-8")
    return done.stdout + done.stderr


@unittest.skipUnless(shutil.which("sqlite3"), "no shell of SQLite on this machine")
class Shell(unittest.TestCase):
    def test_loads_the_extension_and_searches(self):
        self.assertEqual(shell("SELECT trovex('Haus &20 Hof', 'Das Haus am Hof');"), "1\n")

    def test_shows_the_sentence_of_a_fault(self):
        self.assertIn("The closing bracket ) is missing in a subexpression. (expression, character 1: \"(\")",
                      shell("SELECT trovex('(Haus', 'Das Haus');"))

    def test_examples_of_the_page_answer_as_shown(self):
        with open(PAGE, encoding="utf-8") as page:
            text = page.read()
        examples = re.findall(r"```sql\n(.*?)```\n+```\n(.*?)```", text, re.DOTALL)
        self.assertGreater(len(examples), 5)
        said = []
        for statements, answer in examples:
            # What earlier examples made is there for the later ones.
            said.append(statements)
            printed = shell(".mode list", *said[:-1], ".print ANSWER", statements)
            self.assertEqual(printed.split("ANSWER\n")[1], answer, statements)


@unittest.skipUnless(hasattr(sqlite3.Connection, "enable_load_extension"),
                     "this Python loads no extensions")
class Python(unittest.TestCase):
    def connect(self, **options):
        connection = sqlite3.connect(":memory:", **options)
        connection.enable_load_extension(True)
        connection.load_extension(EXTENSION)
        return connection

    def test_functions_answer(self):
        connection = self.connect()
        self.assertEqual(connection.execute("SELECT trovex(?, ?)", ("Tür", "Die Türen")).fetchone(), (1,))
        self.assertEqual(
            connection.execute("SELECT trovex_highlight('Tür', ?, '<', '>')", ("Die Türen",)).fetchone(),
            ("Die <Tür>en",))
        self.assertEqual(connection.execute("SELECT trovex_highlight('T', x'4154', '<', '>')").fetchone(),
                         (b"A<T>",))

    def test_items_have_the_positions_of_python_and_one(self):
        connection = self.connect()
        text = "Ähre 😀 Tür → Haus\0Haus"
        rows = connection.execute("SELECT start, end, text FROM trovex_items('Tür|Haus', ?)", (text,)).fetchall()
        self.assertEqual(rows, [(8, 11, "Tür"), (14, 18, "Haus"), (19, 23, "Haus")])
        for start, end, found in rows:
            self.assertEqual(text[start - 1:end - 1], found)

    def test_a_fault_is_an_error(self):
        with self.assertRaisesRegex(sqlite3.OperationalError, "closing bracket"):
            self.connect().execute("SELECT trovex('(', 'a')").fetchone()

    def test_interrupt_ends_a_search(self):
        connection = self.connect(check_same_thread=False)
        text = "Zeile mit aller Art von Text\n" * 2_000_000
        is_searching, is_sent = threading.Event(), threading.Event()

        def wait():
            """In the middle of the search, which asks whether it is to go on."""
            is_searching.set()
            is_sent.wait()
            return 0

        def interrupt():
            is_searching.wait()
            connection.interrupt()
            is_sent.set()

        connection.set_progress_handler(wait, 1000)
        other = threading.Thread(target=interrupt)
        other.start()
        try:
            with self.assertRaisesRegex(sqlite3.OperationalError, "interrupted"):
                connection.execute("SELECT trovex_count('([a-z]+) \\1 \\1x', ?)", (text,)).fetchone()
        finally:
            is_searching.set()
            other.join()

    def test_a_progress_handler_ends_a_search(self):
        connection = self.connect()
        connection.set_progress_handler(lambda: 1, 1000)
        with self.assertRaisesRegex(sqlite3.OperationalError, "interrupted"):
            connection.execute("SELECT trovex_count('([a-z]+) \\1 \\1x', ?)",
                               ("Zeile mit aller Art von Text\n" * 2_000_000,)).fetchone()

    def test_threads_have_a_connection_each(self):
        failures = []

        def work():
            try:
                connection = self.connect()
                for i in range(200):
                    word = f"a{i % 40}b"
                    got = connection.execute("SELECT trovex_count(?, ?)", (word, (word + " ") * 5)).fetchone()
                    if got != (5,):
                        failures.append(got)
                connection.close()
            except sqlite3.Error as error:
                failures.append(error)

        threads = [threading.Thread(target=work) for _ in range(8)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(failures, [])


if __name__ == "__main__":
    PAGE = sys.argv.pop()
    EXTENSION = sys.argv.pop()
    unittest.main()
