#include "poshost/verbs/scanlines.h"

#include <utility>

namespace poshost {

std::optional<QByteArray> ScanLines::add(char byte)
{
    const bool endedAlready = std::exchange(m_afterReturn, byte == '\r') && byte == '\n';
    if (endedAlready) {
        return std::nullopt;
    }
    if (byte == '\r' || byte == '\n') {
        return takePending();
    }
    if (m_line.size() <= maxScanLine) {
        m_line += byte;
    }
    return std::nullopt;
}

QByteArray ScanLines::takePending()
{
    return std::exchange(m_line, {});
}

QByteArray ScanLines::eraseLast()
{
    const auto continues = [](char byte) { return (byte & '\xc0') == '\x80'; };
    if (m_line.isEmpty() || m_line.size() > maxScanLine) {
        return {};
    }
    qsizetype start = m_line.size() - 1;
    while (start > 0 && continues(m_line[start])) {
        --start;
    }
    QByteArray erased = m_line.sliced(start);
    m_line.truncate(start);
    return erased;
}

}  // namespace poshost
