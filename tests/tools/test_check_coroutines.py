"""The coroutine gate, on samples that must pass and samples that must not."""

import tempfile
import unittest
from pathlib import Path

from project import run_tool

PROGRAM, TEST, MAIN = "src/{}/Sample.cpp", "tests/{}/SampleTest.cpp", "src/{}/main.cpp"

# What is refused: a sentence, a word of the complaint, and samples.
REFUSED = {
    "a lambda in an await expression": ("lambda", [
        "co_await QtConcurrent::run([s] { return s; });", "const auto x = co_await run(\n    [] { return 1; });"]),
    "braces in an await expression": ("Braces", [
        "co_await start(program, {a, b});", "co_await start(Options{.quiet = true});", "co_await start({});"]),
    "a choice in or around an await expression": (r"\?:", [
        "co_await start(quiet ? a : b);", "x = quiet ? co_await a() : 0;"]),
    "parameters that are references": ("reference", [
        "QCoro::Task<void> f(const QString &name);", "QCoro::Task<> f(int a, Options &&options) {}",
        "QCoro::Task<std::optional<QString>> Room::f(QList<int> &list)\n{\n}",
        "auto f(const QString &name) -> QCoro::Task<> {}",
        "auto f = [](const QString &name) -> QCoro::Task<> { co_return; };", "Task<int> f(const QString\n    &name);"]),
    "parameters that are views": ("view", [
        f"QCoro::Task<void> f({view} text);" for view in (
            "QStringView", "QByteArrayView", "QAnyStringView", "QLatin1StringView", "QLatin1String", "std::string_view",
            "std::u16string_view", "std::span<const char>", "std::optional<QStringView>",
            "std::initializer_list<int>")]),
    "a capturing lambda that is a coroutine": ("captures", [
        "const auto f = [this]() -> QCoro::Task<> { return g(); };", "const auto f = [=] { co_await g(); };",
        "run([&]() -> QCoro::Task<void> { co_return; });", "return [x](int y) mutable noexcept { co_return y; };"]),
    "such a lambda without a name, in a test": ("captures", [
        "run([&]() -> QCoro::Task<> { co_return; });"], TEST),
    "a binding straight from co_await": ("binding", [
        "const auto [a, b] = co_await f();", "auto &&[a, b] = std::get<0>(co_await f());"]),
    "a nested loop": ("nested or blocking", [
        "QEventLoop loop;", "dialog.exec();", "dialog->exec();", "QCoro::waitFor(task);", "process.waitForFinished();",
        "process.waitForReadyRead(10);", "process.waitForStarted();", "future.waitForFinished();",
        "QCoreApplication::processEvents();", "pool.waitForDone();",
        # A separator in a number begins no character.
        "auto a = 1'000; box.exec(); auto b = 2'000;"]),
    "an excuse without a reason": ("nested", ["box.exec(); // gate: allowed, because "]),
    "an empty catch-all": ("catch-all", [
        "try { f(); } catch (...) {}", "try { f(); } catch (...) {\n    // never mind\n}"]),
    "a header": ("nested", ["box.exec();"], "src/{}/Sample.h"),
    "Objective-C++": ("nested", ["box.exec();"], "src/{}/Sample.mm"),
}
# Violations that are not in the first line.
LATER = (("Braces", "\n/* one\n two */\nco_await f({});\n", 4),
         ("nested", "a.exec(); // gate: allowed, because it has to\nb.exec();", 2))

ALLOWED = {
    "names, moves, literals and calls in an await expression": [
        'co_await start(program, std::move(options), 3, "a?{b}", QStringLiteral("[x]"));'],
    "what follows an await expression": [
        "if (co_await f()) { g(); }", "while (co_await f(x)) { h({1}); }", "for (auto &x : co_await f()) { g(); }",
        "switch (co_await f()) { case 1: break; }", "if (const auto r = co_await f(); !r) { g(a ? b : c); }",
        "co_return Pair{1, co_await f()};", "f(co_await g(), {1, 2});"],
    "parameters that are values and pointers": [
        "QCoro::Task<void> f(QString name, AppModel *model, std::stop_token stop = {});",
        "QCoro::Task<void> f(std::function<void(const QString &, QStringView)> onLine);"],
    "references in a function that returns no task": ["void f(const QString &name, QStringView text);"],
    "members and locals": ["struct A { QCoro::Task<void> m_task; };\nvoid f(const A &a);"],
    "a coroutine lambda without captures": ["const auto f = [](int x) -> QCoro::Task<int> { co_return x; };"],
    "a capturing lambda that is no coroutine": [
        "const auto f = [this] { m_count += values[3]; };",
        "const auto f = [this] { const auto g = [](int x) -> QCoro::Task<> { co_return; }; };"],
    "brackets that are no lambda": [
        "[[nodiscard]] QCoro::Task<> f(int x)\n{\n    int a[] = {1};\n    co_return a[x];\n}"],
    "a binding from a name": ["const auto both = co_await f();\nconst auto [a, b] = both;\nco_await g();"],
    "awaiting, which is not waiting": ["co_await qCoro(process).waitForFinished();"],
    "one line with a reason": ["box.exec(); // gate: allowed, because quitting has to wait for the answer"],
    "a catch-all that does something": [
        "try { f(); } catch (...) { report(); }", "try { f(); } catch (const CancellationError &) {}"],
    "comments and texts": [
        '// co_await f({});\n/* dialog.exec(); */\nauto a = "QEventLoop";\n'
        'auto b = R"x(co_await f({}); ")" )x";\nauto c = \'"\'; auto d = "\\"exec(";\n'],
}
ALLOWED_IN = {
    TEST: ["const auto f = [&]() -> QCoro::Task<> { co_return; };", "process.waitForFinished();"],
    MAIN: ["return application.exec();"],
}


class Gate(unittest.TestCase):
    def complaints(self, samples):
        """The lines that the gate prints about each of the samples, which are pairs of a path and its code."""
        with tempfile.TemporaryDirectory() as folder:
            places = [path.format(number) for number, (path, _) in enumerate(samples)]
            for place, (_, code) in zip(places, samples):
                file = Path(folder, place)
                file.parent.mkdir(parents=True)
                file.write_text(code)
            run = run_tool("check-coroutines", folder)
            self.assertEqual(run.stderr, "")
            found = [[line.removeprefix(place) for line in run.stdout.splitlines() if line.startswith(place)]
                     for place in places]
            self.assertEqual(run.returncode, 1 if any(found) else 0)
            return found

    def test_what_is_refused(self):
        cases = [(sentence, case[0], case[2] if len(case) > 2 else PROGRAM, code, 1)
                 for sentence, case in REFUSED.items() for code in case[1]]
        cases += [("the line of the violation", word, PROGRAM, code, line) for word, code, line in LATER]
        for (sentence, word, _, code, line), found in zip(cases, self.complaints([case[2:4] for case in cases])):
            with self.subTest(sentence, code=code):
                self.assertEqual(len(found), 1, found)
                self.assertRegex(found[0], rf"^:{line}: .*{word}.*\.$")

    def test_what_is_allowed(self):
        cases = [(sentence, PROGRAM, code) for sentence, codes in ALLOWED.items() for code in codes]
        cases += [("only here", path, code) for path, codes in ALLOWED_IN.items() for code in codes]
        for (sentence, _, code), found in zip(cases, self.complaints([case[1:] for case in cases])):
            with self.subTest(sentence, code=code):
                self.assertEqual(found, [])

    def test_a_folder_without_code_is_no_success(self):
        with tempfile.TemporaryDirectory() as folder:
            self.assertEqual(run_tool("check-coroutines", folder).returncode, 1)


if __name__ == "__main__":
    unittest.main()
