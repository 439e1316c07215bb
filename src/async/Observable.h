#pragma once

#include <QObject>

#include <utility>

/// An object whose published fields others watch. It announces a change before the change takes effect: a
/// view marks itself stale on the announcement and reads the fields on a later turn of the event loop, so
/// that a thousand changes cost one redraw. Main thread only.
class Observable : public QObject {
    Q_OBJECT

public:
    ~Observable() override = default;

Q_SIGNALS:
    /// A published field is about to change. It still holds its old value.
    void willChange();

protected:
    using QObject::QObject;
};

/// A field of an Observable. Every assignment, even of an equal value, announces the change and then stores
/// it.
template <typename T> class Published final {
public:
    explicit Published(Observable *owner, T initial = T())
        : m_owner(owner)
        , m_value(std::move(initial))
    {
    }
    Q_DISABLE_COPY_MOVE(Published)

    Published &operator=(T value)
    {
        Q_EMIT m_owner->willChange();
        m_value = std::move(value);
        return *this;
    }

    /// Announces once and then lets `edit` change the value in place.
    template <typename Edit> void change(Edit &&edit)
    {
        Q_EMIT m_owner->willChange();
        std::forward<Edit>(edit)(m_value);
    }

    const T &get() const { return m_value; }
    operator const T &() const { return m_value; }
    const T *operator->() const { return &m_value; }

private:
    Observable *m_owner = nullptr;
    T m_value;
};
