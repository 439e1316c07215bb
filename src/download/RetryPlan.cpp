#include "RetryPlan.h"

namespace {

constexpr int partialContent = 206;
constexpr int rangeNotSatisfiable = 416;

}

RetryPlan::Place RetryPlan::answered(const HttpAnswer &answer)
{
    if (m_range && answer.status == partialContent) {
        if (!continues(answer))
            return Place::Nowhere;
        m_wasResumed = true;
        return Place::AfterReceived;
    }
    if (m_hasReceivedAny && ++m_newBeginnings > mostNewBeginnings)
        return Place::Nowhere;
    const bool canBeResumed = answer.length > 0 && !answer.isEncoded() && answer.status != partialContent;
    m_tag = canBeResumed ? answer.strongTag() : QByteArray();
    m_size = answer.length > 0 ? answer.length : -1;
    m_range = std::nullopt;
    m_received = 0;
    m_wasResumed = false;
    return Place::Beginning;
}

bool RetryPlan::continues(const HttpAnswer &answer) const
{
    const HttpContentRange missing { m_received, m_size - 1, m_size };
    return answer.range() == missing && answer.length == m_size - m_received && answer.strongTag() == m_tag
        && !answer.isEncoded();
}

void RetryPlan::took(qint64 bytes)
{
    m_received += bytes;
    m_receivedInTry += bytes;
    m_hasReceivedAny = m_hasReceivedAny || bytes > 0;
}

/// Ends a try. Returns whether another one is due: whether any byte has ever come, and not too many tries in
/// a row were without.
bool RetryPlan::countTry()
{
    m_emptyTries = m_receivedInTry > 0 ? 0 : m_emptyTries + 1;
    m_receivedInTry = 0;
    return m_hasReceivedAny && m_emptyTries < m_pauses.size();
}

RetryPlan::Next RetryPlan::broke()
{
    if (!countTry())
        return {};
    const Pause pause = m_pauses.at(m_emptyTries);
    if (!m_tag.isEmpty() && m_received > 0 && m_received < m_size) {
        m_range = HttpRange { m_received, m_tag };
        return { Step::Resume, pause };
    }
    m_range = std::nullopt;
    return m_newBeginnings < mostNewBeginnings ? Next { Step::BeginAgain, pause } : Next {};
}

RetryPlan::Next RetryPlan::refused(int status)
{
    return m_range && status == rangeNotSatisfiable ? wasUseless() : Next {};
}

RetryPlan::Next RetryPlan::wasUseless()
{
    const bool mayGoOn = countTry() && m_newBeginnings < mostNewBeginnings;
    m_range = std::nullopt;
    m_tag.clear(); // not to be asked for again, should the next request get no answer
    return mayGoOn ? Next { Step::BeginAgain, Pause::zero() } : Next {};
}
