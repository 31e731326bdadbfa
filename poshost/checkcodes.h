#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <utils/markingcode.h>

namespace poshost {

/// Most characters that a code may have.
inline constexpr qsizetype longestCode = 4096;

/// The codes to check: those typed on the command line, then those of `file` ("-": standard input; empty:
/// none), one a line. `\x1d`, `\u001d`, `<GS>` and the character itself mean GS.
///
/// Throws Failure, naming argument or file and line, for a code that is empty, too long or holds other
/// characters than GS and printable ASCII, for a blank line or a carriage return in the file, and for a file
/// that cannot be read.
[[nodiscard]] QList<MarkingCode> readCodes(const QList<QByteArray>& typed, const QString& file);

/// The codes of a file's content; `name` is what messages call it.
[[nodiscard]] QList<MarkingCode> codesOfLines(const QByteArray& content, const QString& name);

}  // namespace poshost
