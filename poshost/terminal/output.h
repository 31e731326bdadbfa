#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QUrl>

namespace poshost {

/// Writes `text` to standard output in UTF-8, whole. Throws FatalError (exitstatus::OutputFailed) when that
/// is impossible: a full disk; ReaderGone when the reader has gone.
void printOut(const QString& text);
/// The same with bytes that are UTF-8 already.
void printOut(const QByteArray& bytes);

/// `text` for `columns`: longer lines are broken between words, and what follows is indented; a word that is
/// longer than a line stays whole. Sequences for colours take no room. 0 columns: as it is.
[[nodiscard]] QString fitted(const QString& text, int columns);

/// The same as printOut(), fitted to the width that the terminal has now.
void printReport(const QString& text);

/// `text` as it can stand within a line of output, wherever it comes from: nothing in it ends a line or
/// steers a terminal. Everything from outside passes through here or through jsonLine().
[[nodiscard]] QString oneLine(const QString& text);

/// The address within a line: percent-encoded, with asterisks for user and password.
[[nodiscard]] QString shownAddress(const QUrl& url);

/// The object as one line of JSON with its line feed; characters that do not print are escaped. With `stand`
/// it tells that a test stand was asked.
[[nodiscard]] QString jsonLine(QJsonObject object, bool stand = false);

/// Writes "poshost: <line>" to standard error. Write errors are ignored.
void printNote(const QString& line);

/// Writes `text` to standard error as it stands.
void printError(const QString& text);

}  // namespace poshost
