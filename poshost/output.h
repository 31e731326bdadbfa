#pragma once

#include <QByteArray>
#include <QString>

namespace poshost {

/// Writes `text` to standard output in UTF-8, whole. Throws Failure (exitstatus::OutputFailed) when that is
/// impossible: a full disk, a reader that has gone.
void printOut(const QString& text);
/// The same with bytes that are UTF-8 already.
void printOut(const QByteArray& bytes);

/// Writes "poshost: <line>" to standard error; a failure to do so is nobody's to hear.
void printNote(const QString& line);

/// Writes `text` to standard error as it stands.
void printError(const QString& text);

}  // namespace poshost
