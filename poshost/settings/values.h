#pragma once

#include <QString>
#include <QUrl>

namespace poshost {

/// An address as the plug-in will read it: "markirovka.example" is "http://markirovka.example". Invalid for
/// what would be taken for something else, such as "http://a b" for a path on a host named "http".
[[nodiscard]] QUrl addressOf(const QString& text);

/// Whether it is an address of a proxy: "proxy.example:3128", with or without a scheme.
[[nodiscard]] bool isProxy(const QString& text);

/// An http or https URL with a host.
[[nodiscard]] bool isAskable(const QUrl& url);

/// Whether what is sent there can be read on its way: plain http to another machine.
[[nodiscard]] bool isOverheard(const QUrl& url);

/// The URL of a method: `path` behind the path that the address has.
[[nodiscard]] QUrl methodUrl(const QUrl& base, const QString& path);

/// The URL without user name and password.
[[nodiscard]] QString shown(const QUrl& url);

/// A text that may be or hold an address: without what stands before an "@".
[[nodiscard]] QString shownText(const QString& text);

/// Whether the file can be read and has a certificate in PEM: any other is of no use as [Network] caFile.
[[nodiscard]] bool holdsCertificates(const QString& file);

/// All but the last four characters of a secret gone, and all of one that has eight or fewer.
[[nodiscard]] QString masked(const QString& secret);

}  // namespace poshost
