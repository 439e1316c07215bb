#pragma once

#include <QByteArray>
#include <QTest>

#include <type_traits>

/// Adds a column for each name to the current data table, and returns a function that adds a row: its
/// description and one value for each column.
///
///     const auto row = table<QString, int>("text", "length");
///     row("an empty text", {}, 0);
template <typename... Values, typename... Names> auto table(Names... names)
{
    static_assert(sizeof...(Values) == sizeof...(Names));
    (QTest::addColumn<Values>(names), ...);
    return [](const QByteArray &description, const Values &...values) {
        (QTest::newRow(description.constData()) << ... << values);
    };
}
