#pragma once

#include <QByteArray>
#include <QString>

namespace poshost {

/// All that the file holds ("-": standard input; a pipe is read to its end), without a byte order mark.
/// Throws FatalError, with the option that names the file, when it cannot be read.
[[nodiscard]] QByteArray readInput(const QString& name, const QString& option);
/// What messages call it.
[[nodiscard]] QString inputName(const QString& name);
[[nodiscard]] QByteArray withoutByteOrderMark(const QByteArray& bytes);

}  // namespace poshost
