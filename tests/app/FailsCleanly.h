#pragma once

#include <QTest>

#include <exception>

/// Runs the functions of `Test`. An exception ends only the function that threw it, which fails with the
/// exception's sentence. Qt Test itself would end the whole program.
template <typename Test> class FailsCleanly final : public QObject {
public:
    const QMetaObject *metaObject() const override { return &s_functions; }

private:
    /// The functions of `Test`, each called through `call`.
    static QMetaObject functions()
    {
        QMetaObject result = Test::staticMetaObject;
        result.d.static_metacall = call;
        return result;
    }

    static void call(QObject *self, QMetaObject::Call kind, int index, void **arguments)
    {
        try {
            QObject *test = &static_cast<FailsCleanly *>(self)->m_test;
            Test::staticMetaObject.d.static_metacall(test, kind, index, arguments);
        } catch (const std::exception &exception) {
            QTest::qFail(exception.what(), __FILE__, __LINE__);
        }
    }

    static inline const QMetaObject s_functions = functions();
    Test m_test;
};
