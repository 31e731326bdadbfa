#pragma once

#include <QString>

namespace poshost {

/// A copy with memory of its own. A text that a plug-in made from a literal lies in the plug-in's library
/// and is gone with it.
[[nodiscard]] inline QString detached(const QString& text)
{
    return text.isEmpty() ? QString() : QString(text.constData(), text.size());
}

}  // namespace poshost
