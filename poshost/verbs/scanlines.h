#pragma once

#include <optional>

#include <QByteArray>

namespace poshost {

/// One line as a scanner or a person typed it, without its end.
struct ScanLine
{
    QByteArray text;
    bool tooLong = false;  ///< more than maxScanLine bytes; `text` is what fitted
};

/// Enough for the longest code, every character of it spelled "\u001d".
inline constexpr qsizetype maxScanLine = 32768;

/// Cuts what a scanner types into lines. A line ends with CR, with LF, or with CR and LF.
class ScanLines
{
public:
    /// The line that `byte` ends; nothing when it ends none.
    [[nodiscard]] std::optional<ScanLine> add(char byte);

    /// What has come since the last line.
    [[nodiscard]] const QByteArray& pending() const { return m_line.text; }
    /// The same, taken out: a line that the end of the input ends.
    [[nodiscard]] ScanLine takePending();
    /// Takes out the last character and returns it; empty when there is none.
    QByteArray eraseLast();

private:
    ScanLine m_line;
    bool m_afterReturn = false;
};

}  // namespace poshost
