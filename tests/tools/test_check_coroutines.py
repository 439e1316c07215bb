"""The coroutine gate, on samples that must pass and samples that must not."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

GATE = Path(__file__).resolve().parents[2] / "tools" / "check-coroutines"


class GateCase(unittest.TestCase):
    def run_gate(self, code, path="src/room/Sample.cpp"):
        with tempfile.TemporaryDirectory() as folder:
            file = Path(folder, path)
            file.parent.mkdir(parents=True)
            file.write_text(code)
            return subprocess.run([sys.executable, GATE, folder], capture_output=True, text=True)

    def assert_refused(self, code, word, path="src/room/Sample.cpp", line=1):
        run = self.run_gate(code, path)
        self.assertEqual(run.returncode, 1, f"not refused: {code}")
        self.assertRegex(run.stdout, rf"(?m)^{path}:{line}: .*{word}.*\.$")
        self.assertEqual(len(run.stdout.splitlines()), 1, run.stdout)

    def assert_allowed(self, code, path="src/room/Sample.cpp"):
        run = self.run_gate(code, path)
        self.assertEqual((run.returncode, run.stderr), (0, ""), f"refused: {code}\n{run.stdout}")


class AwaitExpressions(GateCase):
    def test_a_lambda_inside_is_refused(self):
        self.assert_refused("co_await QtConcurrent::run([s] { return s; });", "lambda")
        self.assert_refused("const auto x = co_await run(\n    [] { return 1; });", "lambda")

    def test_braces_inside_are_refused(self):
        self.assert_refused("co_await start(program, {a, b});", "Braces")
        self.assert_refused("co_await start(Options{.quiet = true});", "Braces")
        self.assert_refused("co_await start({});", "Braces")

    def test_a_choice_inside_or_around_is_refused(self):
        self.assert_refused("co_await start(quiet ? a : b);", r"\?:")
        self.assert_refused("x = quiet ? co_await a() : 0;", r"\?:")

    def test_names_moves_literals_and_calls_are_allowed(self):
        self.assert_allowed('co_await start(program, std::move(options), 3, "a?{b}", QStringLiteral("[x]"));')

    def test_what_follows_the_expression_is_no_part_of_it(self):
        for code in ("if (co_await f()) { g(); }", "while (co_await f(x)) { h({1}); }",
                     "for (auto &x : co_await f()) { g(); }", "switch (co_await f()) { case 1: break; }",
                     "if (const auto r = co_await f(); !r) { g(a ? b : c); }", "co_return Pair{1, co_await f()};",
                     "f(co_await g(), {1, 2});"):
            self.assert_allowed(code)

    def test_the_line_is_that_of_the_violation(self):
        self.assert_refused("\n/* one\n two */\nco_await f({});\n", "Braces", line=4)


class Parameters(GateCase):
    def test_references_are_refused(self):
        for code in ("QCoro::Task<void> f(const QString &name);", "QCoro::Task<> f(int a, Options &&options) {}",
                     "QCoro::Task<std::optional<QString>> Room::f(QList<int> &list)\n{\n}",
                     "auto f(const QString &name) -> QCoro::Task<> {}",
                     "auto f = [](const QString &name) -> QCoro::Task<> { co_return; };",
                     "Task<int> f(const QString\n    &name);"):
            self.assert_refused(code, "reference")

    def test_views_are_refused(self):
        for view in ("QStringView", "QByteArrayView", "QAnyStringView", "QLatin1StringView", "QLatin1String",
                     "std::string_view", "std::u16string_view", "std::span<const char>", "std::optional<QStringView>",
                     "std::initializer_list<int>"):
            self.assert_refused(f"QCoro::Task<void> f({view} text);", "view")

    def test_values_and_pointers_are_allowed(self):
        self.assert_allowed("QCoro::Task<void> f(QString name, AppModel *model, std::stop_token stop = {});")
        self.assert_allowed("QCoro::Task<void> f(std::function<void(const QString &, QStringView)> onLine);")

    def test_functions_that_return_no_task_may_take_references(self):
        self.assert_allowed("void f(const QString &name, QStringView text);")

    def test_members_and_locals_are_no_functions(self):
        self.assert_allowed("struct A { QCoro::Task<void> m_task; };\nvoid f(const A &a);")


class CoroutineLambdas(GateCase):
    def test_a_capturing_one_is_refused_in_the_program(self):
        for code in ("const auto f = [this]() -> QCoro::Task<> { return g(); };",
                     "const auto f = [=] { co_await g(); };", "run([&]() -> QCoro::Task<void> { co_return; });",
                     "return [x](int y) mutable noexcept { co_return y; };"):
            self.assert_refused(code, "captures")

    def test_one_without_captures_is_allowed(self):
        self.assert_allowed("const auto f = [](int x) -> QCoro::Task<int> { co_return x; };")

    def test_a_capturing_lambda_that_is_none_is_allowed(self):
        self.assert_allowed("const auto f = [this] { m_count += values[3]; };")

    def test_one_inside_does_not_make_the_outer_one_a_coroutine(self):
        self.assert_allowed("const auto f = [this] { const auto g = [](int x) -> QCoro::Task<> { co_return; }; };")

    def test_tests_may_have_a_named_one(self):
        self.assert_allowed("const auto f = [&]() -> QCoro::Task<> { co_return; };", "tests/room/SampleTest.cpp")
        self.assert_refused("run([&]() -> QCoro::Task<> { co_return; });", "captures", "tests/room/SampleTest.cpp")

    def test_brackets_that_are_no_lambda_are_allowed(self):
        self.assert_allowed("[[nodiscard]] QCoro::Task<> f(int x)\n{\n    int a[] = {1};\n    co_return a[x];\n}")


class Bindings(GateCase):
    def test_straight_from_co_await_is_refused(self):
        self.assert_refused("const auto [a, b] = co_await f();", "binding")
        self.assert_refused("auto &&[a, b] = std::get<0>(co_await f());", "binding")

    def test_from_a_name_is_allowed(self):
        self.assert_allowed("const auto both = co_await f();\nconst auto [a, b] = both;\nco_await g();")


class NestedLoops(GateCase):
    def test_every_form_is_refused_in_the_program(self):
        for code in ("QEventLoop loop;", "dialog.exec();", "dialog->exec();", "QCoro::waitFor(task);",
                     "process.waitForFinished();", "process.waitForReadyRead(10);", "process.waitForStarted();",
                     "future.waitForFinished();", "QCoreApplication::processEvents();", "pool.waitForDone();"):
            self.assert_refused(code, "nested or blocking")

    def test_main_and_tests_may(self):
        self.assert_allowed("return application.exec();", "src/app/main.cpp")
        self.assert_allowed("process.waitForFinished();", "tests/room/SampleTest.cpp")

    def test_awaiting_is_not_waiting(self):
        self.assert_allowed("co_await qCoro(process).waitForFinished();")

    def test_a_reason_lets_one_line_through(self):
        self.assert_allowed("box.exec(); // gate: allowed, because quitting has to wait for the answer")
        self.assert_refused("a.exec(); // gate: allowed, because it has to\nb.exec();", "nested", line=2)

    def test_an_excuse_without_a_reason_does_not(self):
        self.assert_refused("box.exec(); // gate: allowed, because ", "nested")


class CatchAll(GateCase):
    def test_an_empty_one_is_refused(self):
        self.assert_refused("try { f(); } catch (...) {}", "catch-all")
        self.assert_refused("try { f(); } catch (...) {\n    // never mind\n}", "catch-all")

    def test_one_that_does_something_is_allowed(self):
        self.assert_allowed("try { f(); } catch (...) { report(); }")
        self.assert_allowed("try { f(); } catch (const CancellationError &) {}")


class Reading(GateCase):
    def test_comments_and_texts_are_no_code(self):
        self.assert_allowed('// co_await f({});\n/* dialog.exec(); */\nauto a = "QEventLoop";\n'
                            'auto b = R"x(co_await f({}); ")" )x";\nauto c = \'"\'; auto d = "\\"exec(";\n')

    def test_a_separator_in_a_number_begins_no_character(self):
        self.assert_refused("auto a = 1'000; box.exec(); auto b = 2'000;", "nested")

    def test_headers_and_objective_c_are_read_too(self):
        for ending in (".h", ".mm"):
            self.assert_refused("box.exec();", "nested", "src/room/Sample" + ending)

    def test_a_folder_without_code_is_no_success(self):
        with tempfile.TemporaryDirectory() as folder:
            self.assertEqual(subprocess.run([sys.executable, GATE, folder], capture_output=True).returncode, 1)


if __name__ == "__main__":
    unittest.main()
