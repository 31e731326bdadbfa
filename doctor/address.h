#pragma once

#include <QString>
#include <QUrl>

namespace doctor {

/// An address as the plug-in will read it: "markirovka.example" is "http://markirovka.example". Invalid for
/// what would be taken for something else, such as "http://a b" for a path on a host named "http".
[[nodiscard]] QUrl addressOf(const QString& text);

/// An http or https URL with a host.
[[nodiscard]] bool isAskable(const QUrl& url);

/// The URL without a password in it.
[[nodiscard]] QString shown(const QUrl& url);

}  // namespace doctor
