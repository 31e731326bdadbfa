#pragma once

#include <ostream>

#include <QString>

#include <network/networkerror.h>
#include <utils/tr.h>

// How a failed expectation shows the host's values. Found by GoogleTest through the namespaces of the types.

inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QByteArray& bytes, std::ostream* out)
{
    *out << '"' << bytes.toStdString() << '"';
}

namespace tr {

inline void PrintTo(const Tr& message, std::ostream* out)
{
    *out << message.id().toStdString() << ": " << message.ru().toStdString();
}

}  // namespace tr

namespace http {

inline void PrintTo(NetworkError error, std::ostream* out)
{
    *out << int(error);
}

}  // namespace http
