#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <utils/markingcode.h>

namespace poshost {

/// Characters that a code may have.
inline constexpr qsizetype maxCode = 4096;

/// What is wrong with the text of a code.
enum class CodeFault { None, Characters, TooLong, Empty };

struct ParsedCode
{
    MarkingCode code;  ///< empty when there is a fault
    CodeFault fault = CodeFault::None;
};

/// The code that `bytes` spell. `\x1d`, `\u001d`, `<GS>` and the character itself mean GS; else a code holds
/// printable ASCII only.
[[nodiscard]] ParsedCode parseCode(const QByteArray& bytes);

/// The codes to check: those typed on the command line, then those of `file` ("-": standard input; empty:
/// none), one a line.
/// Throws FatalError, naming argument or file and line, for a code that is empty, too long or holds other
/// characters than GS and printable ASCII, for a blank line in the file, and for a file that cannot be read.
/// A byte order mark and carriage returns at the ends of lines are no part of the codes.
[[nodiscard]] QList<MarkingCode> readCodes(const QList<QByteArray>& typed, const QString& file);

/// The codes of a file's content; `name` is what messages call it.
[[nodiscard]] QList<MarkingCode> codesOfLines(const QByteArray& content, const QString& name);

}  // namespace poshost
