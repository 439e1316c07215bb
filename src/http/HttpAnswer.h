#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <optional>

/// Asks for a file from `firstByte` to its end, provided that the file still has the strong entity tag
/// `validator`. A server whose file has changed sends the whole new one instead.
struct HttpRange {
    qint64 firstByte = 0;
    QByteArray validator;
};

/// Which bytes of a file a 206 response holds; `last` is inclusive, and less than `complete`.
struct HttpContentRange {
    qint64 first = 0;
    qint64 last = 0;
    qint64 complete = 0;

    bool operator==(const HttpContentRange &) const = default;
};

/// What the header of a response says about its body. A field that comes twice, or that cannot be understood,
/// counts as missing: at worst a file is downloaded again.
class HttpAnswer final {
public:
    int status = 0;
    /// Size of the body in bytes, -1 when the server announced none.
    qint64 length = -1;

    /// Takes note of a header field, whose `name` is in lower case. Fields that say nothing about the body
    /// are ignored.
    void takeField(QByteArrayView name, QByteArrayView value);

    /// The entity tag with its quotes. Empty when there is none, or only a weak one, which two different
    /// files may share.
    QByteArray strongTag() const { return m_tags == 1 ? m_strongTag : QByteArray(); }
    std::optional<HttpContentRange> range() const { return m_ranges == 1 ? m_range : std::nullopt; }
    /// Whether the body is the file in a content coding such as gzip.
    bool isEncoded() const { return m_isEncoded; }

private:
    QByteArray m_strongTag;
    std::optional<HttpContentRange> m_range;
    int m_tags = 0; // how many fields of this kind have come
    int m_ranges = 0;
    bool m_isEncoded = false;
};
