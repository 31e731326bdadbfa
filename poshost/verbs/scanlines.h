#pragma once

#include <optional>

#include <QByteArray>

namespace poshost {

/// Enough for the longest code, every character of it spelled "\u001d".
inline constexpr qsizetype maxScanLine = 32768;

/// Cuts what a scanner or a person types into lines. A line ends with CR, with LF, or with CR and LF. Of one
/// that is too long a byte more than maxScanLine is kept.
class ScanLines
{
public:
    /// The line that `byte` ends, without its end; nothing when it ends none.
    [[nodiscard]] std::optional<QByteArray> add(char byte);

    /// What has come since the last line.
    [[nodiscard]] const QByteArray& pending() const { return m_line; }
    /// The same, taken out: a line that the end of the input ends.
    [[nodiscard]] QByteArray takePending();
    /// Takes out the last character and returns it; empty when there is none, and for a line that is too
    /// long, whose last character is not there.
    QByteArray eraseLast();

private:
    QByteArray m_line;
    bool m_afterReturn = false;
};

}  // namespace poshost
