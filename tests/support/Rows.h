#pragma once

#include <QTest>

#include <functional>
#include <type_traits>

namespace Rows {

using Check = std::function<void()>;

template <typename... Values> auto addColumn(std::function<void(Values...)> check)
{
    QTest::addColumn<Check>("check");
    return [check](const char *description, const std::decay_t<Values> &...values) {
        QTest::newRow(description) << Check([check, values...] { check(values...); });
    };
}

}

/// Returns a function that adds a row to the current test: a description, and the values that `check` is
/// called with when `runRow` runs the row. Each value's name and type stand once, as a parameter of `check`.
///
///     void lengthsAreCounted_data()
///     {
///         const auto row = rows([](const QString &text, int length) { QCOMPARE(text.size(), length); });
///         row("an empty text", {}, 0);
///     }
///     void lengthsAreCounted() { runRow(); }
template <typename Check> auto rows(Check check) { return Rows::addColumn(std::function(check)); }

inline void runRow()
{
    QFETCH(const Rows::Check, check);
    check();
}
