#pragma once

#include <QString>

namespace poshost {

/// Whether the file can be read and has a certificate in PEM: any other is of no use as [Network] caFile.
[[nodiscard]] bool holdsCertificates(const QString& file);

}  // namespace poshost
