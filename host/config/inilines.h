#pragma once

#include <QByteArray>
#include <QString>

/// Says what is wrong with a text in INI form as "<line>: <what>" in Russian, or nothing when every line of
/// it is a section, "key = value" inside a section, a comment or blank. Internal to the library.
[[nodiscard]] QString faultOfIni(const QByteArray& text);
