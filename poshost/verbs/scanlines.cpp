#include "poshost/verbs/scanlines.h"

#include <utility>

namespace poshost {

std::optional<ScanLine> ScanLines::add(char byte)
{
    const bool endedAlready = std::exchange(m_afterReturn, byte == '\r') && byte == '\n';
    if (endedAlready) {
        return std::nullopt;
    }
    if (byte == '\r' || byte == '\n') {
        return takePending();
    }
    if (m_line.text.size() < maxScanLine) {
        m_line.text += byte;
    } else {
        m_line.tooLong = true;
    }
    return std::nullopt;
}

ScanLine ScanLines::takePending()
{
    return std::exchange(m_line, {});
}

QByteArray ScanLines::eraseLast()
{
    const auto continues = [](char byte) { return (byte & '\xc0') == '\x80'; };
    QByteArray& text = m_line.text;
    qsizetype start = text.size() - 1;
    while (start > 0 && continues(text[start])) {
        --start;
    }
    QByteArray erased = start < 0 ? QByteArray() : text.sliced(start);
    text.chop(erased.size());
    return erased;
}

}  // namespace poshost
