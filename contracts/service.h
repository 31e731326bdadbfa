#pragma once

#include <QMetaType>
#include <QString>

#include <utils/export.h>

namespace marking {

/// The verification service that an action or event is meant for. Travels in a QVariant.
enum Service : int {
    NoService = 0,  ///< none, or one that is not known
    Crpt = 1,       ///< "crpt", the marking operator's online service
    Turon = 2,      ///< "turon"
    Esm = 3,        ///< "esm"
};

/// The service that `text` names, in any letter case; NoService for any other text.
[[nodiscard]] ORVEX_EXPORT Service serviceFromText(const QString& text);

}  // namespace marking

Q_DECLARE_METATYPE(marking::Service)
