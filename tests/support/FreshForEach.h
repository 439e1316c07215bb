#pragma once

#include <QTest>

#include <exception>

/// Runs each function of `Test` on an object of its own, whose members and bases are the set-up. An exception
/// ends only the function that threw it, which fails with the exception's sentence. Qt Test itself would run
/// all functions on one object, and would end the whole program.
template <typename Test> class FreshForEach final : public QObject {
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

    static void call(QObject *, QMetaObject::Call kind, int index, void **arguments)
    {
        if (kind != QMetaObject::InvokeMetaMethod)
            return;
        try {
            Test test;
            Test::staticMetaObject.d.static_metacall(&test, kind, index, arguments);
        } catch (const std::exception &exception) {
            QTest::qFail(exception.what(), __FILE__, __LINE__);
        }
    }

    static inline const QMetaObject s_functions = functions();
};
