#pragma once

#include <QString>

namespace poshost {

/// Path of the plug-in library: the one named, else the one that was built or installed with this program.
/// Throws Failure when there is none.
[[nodiscard]] QString findPlugin(const QString& named);

}  // namespace poshost
