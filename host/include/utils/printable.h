#pragma once

#include <QString>
#include <QStringView>

#include <utils/export.h>

namespace utils {

/// `text` for logs, terminals and reports, where no part of it may begin a line, steer a terminal or hide:
/// GS as "<GS>", and other control characters (line ends and tabs too), format characters such as a change of
/// direction, line and paragraph separators, unassigned and private characters and lone surrogates as
/// "\uXXXX", for each UTF-16 unit of theirs. A text that is printable already comes back as it is. Threads:
/// any.
[[nodiscard]] ORVEX_EXPORT QString printable(QStringView text);

}  // namespace utils
