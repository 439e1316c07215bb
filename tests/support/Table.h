#pragma once

#include <QTest>

/// Adds the columns of a data table. Returns a function that adds a row: the sentence that says the case,
/// then the value of each column.
///
///     const auto row = table<QString, int>("path", "code");
///     row("a folder", u"folder"_s, EISDIR);
template <typename... Values, typename... Names> auto table(Names... names)
{
    (QTest::addColumn<Values>(names), ...);
    return [](const char *sentence, const Values &...values) { (QTest::newRow(sentence) << ... << values); };
}
