#pragma once

#include <ostream>

#include <QDateTime>
#include <QUrl>

#include "tests/support/printers.h"
#include <gmock/gmock.h>
#include <utils/markingcode.h>

// How GoogleTest shows the values of these types.

inline void PrintTo(const QUrl& url, std::ostream* out)
{
    PrintTo(url.toString(), out);
}
inline void PrintTo(const QDateTime& time, std::ostream* out)
{
    PrintTo(time.toString(Qt::ISODateWithMs), out);
}
inline void PrintTo(const MarkingCode& code, std::ostream* out)
{
    PrintTo(code.toReadable(), out);
}
