#pragma once

#include "HttpAnswer.h"

#include <chrono>
#include <vector>

/// Decides how a download goes on after a transfer that broke: where the file left off, from the beginning,
/// or not at all. It has no clock and no connection: it is told what happened, and says what to ask for next
/// and how long to wait first. Not thread-safe.
///
/// A file is continued only if the server announced its length and gave it a strong tag, and then sends
/// exactly the missing bytes of the file with that length and tag. Otherwise it is begun again, which wastes
/// what has arrived and is therefore limited.
class RetryPlan final {
public:
    /// How often one download may be begun again.
    static constexpr int mostNewBeginnings = 2;

    using Pause = std::chrono::milliseconds;

    /// `pauses` are as in TransferRules.
    explicit RetryPlan(std::vector<Pause> pauses)
        : m_pauses(std::move(pauses))
    {
    }

    /// What the next request asks for. No value for the whole file.
    std::optional<HttpRange> range() const { return m_range; }
    /// How many bytes of the file are there.
    qint64 received() const { return m_received; }
    /// Size of the whole file, -1 when the server announced none.
    qint64 size() const { return m_size; }
    /// Whether the bytes that are there came in more than one transfer.
    bool wasResumed() const { return m_wasResumed; }

    /// Where in the file a body belongs. Nowhere: it is of no use, and the transfer must be ended.
    enum class Place { Beginning, AfterReceived, Nowhere };
    /// The header of a response within 200-299 has come.
    Place answered(const HttpAnswer &answer);
    /// `bytes` more of the body have come.
    void took(qint64 bytes);

    enum class Step { GiveUp, Resume, BeginAgain };
    struct Next {
        Step step = Step::GiveUp;
        Pause pause {};

        bool operator==(const Next &) const = default;
    };
    /// The transfer broke, or the server could not be reached.
    Next broke();
    /// The server answered with a status outside 200-299.
    Next refused(int status);
    /// The response's body belongs nowhere.
    Next wasUseless();

private:
    bool continues(const HttpAnswer &answer) const;
    bool countTry();

    const std::vector<Pause> m_pauses;
    std::optional<HttpRange> m_range;
    QByteArray m_tag; // empty if the file cannot be resumed
    qint64 m_size = -1;
    qint64 m_received = 0;
    qint64 m_receivedInTry = 0;
    bool m_hasReceivedAny = false;
    bool m_wasResumed = false;
    std::size_t m_emptyTries = 0; // in a row
    int m_newBeginnings = 0;
};
