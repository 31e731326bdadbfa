#pragma once

#include <QByteArray>
#include <QString>

/// Says what is wrong with a text in INI form as "<line>: <what>" in Russian, or nothing when every line of
/// it is a comment, blank, or a section or a "key = value" inside a section, without a colon in the key or a
/// byte order mark. Internal to the library.
[[nodiscard]] QString faultOfIni(const QByteArray& text);
