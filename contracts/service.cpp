#include "contracts/service.h"

#include <algorithm>
#include <array>
#include <utility>

namespace marking {

Service serviceFromText(const QString& text)
{
    static constexpr std::array services = {
        std::pair(QLatin1String("crpt"), Crpt),
        std::pair(QLatin1String("turon"), Turon),
        std::pair(QLatin1String("esm"), Esm),
    };
    const QString name = text.toLower();
    const auto* found = std::find_if(services.begin(), services.end(),
                                     [&](const auto& service) { return service.first == name; });
    return found != services.end() ? found->second : NoService;
}

}  // namespace marking
