#include "result/statusnames.h"

#include <array>

namespace {

using Result = CheckMarkingCodesResult;

struct Flag
{
    Result::EStatus status;
    const char* name;
};

constexpr std::array flags = {
    Flag{Result::NotInReply, "NotInReply"},
    Flag{Result::Unreachable, "Unreachable"},
    Flag{Result::NotValid, "NotValid"},
    Flag{Result::NotVerified, "NotVerified"},
    Flag{Result::Expired, "Expired"},
    Flag{Result::GrayZoneNotRealizable, "GrayZoneNotRealizable"},
    Flag{Result::Sold, "Sold"},
    Flag{Result::NotUtilised, "NotUtilised"},
    Flag{Result::NotRealizable, "NotRealizable"},
    Flag{Result::NotFound, "NotFound"},
    Flag{Result::Blocked, "Blocked"},
    Flag{Result::NotOwner, "NotOwner"},
    Flag{Result::GreyGtin, "GreyGtin"},
    Flag{Result::ZeroWeight, "ZeroWeight"},
    Flag{Result::NotTracking, "NotTracking"},
};

}  // namespace

QStringList statusNames(Result::Status status)
{
    QStringList names;
    for (const Flag& flag : flags) {
        if (status.testFlag(flag.status)) {
            names.append(QString::fromUtf8(flag.name));
        }
    }
    return names;
}

Result::Status statusFromNames(const QStringList& names)
{
    Result::Status status;
    for (const Flag& flag : flags) {
        status.setFlag(flag.status, names.contains(QLatin1String(flag.name)));
    }
    return status;
}
