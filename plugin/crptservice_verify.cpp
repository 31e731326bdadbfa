#include "plugin/crptservice.h"

#include <chrono>

#include "contracts/verify.h"
#include "crpt/crptclient.h"
#include "lmchz/lmchzclient.h"
#include <log4qt/logger.h>
#include <orvex/dialog.h>
#include <utils/tr.h>

using std::chrono::milliseconds;
using std::chrono::seconds;

namespace {

/// Milliseconds, or the nearest value that they can hold for a limit in seconds out of their range.
milliseconds toMilliseconds(seconds limit)
{
    if (limit > std::chrono::floor<seconds>(milliseconds::max())) {
        return milliseconds::max();
    }
    if (limit < std::chrono::ceil<seconds>(milliseconds::min())) {
        return milliseconds::min();
    }
    return limit;
}

}  // namespace

EContext::Result CrptService::checkMarkingCodes(const control::Action& action)
{
    const control::args::marking::Verify arguments(action, QString());
    if (arguments.service() != control::args::marking::Verify::Crpt) {
        return EContext::NotServed;
    }
    const SimpleProgress progress = MockFactory<Dialog>::create()->showProgress(
        tr::Tr(QStringLiteral("processRequestMessage"), QStringLiteral("Обращение к серверу...")), tr::Tr());
    const CheckMarkingCodesResult online = crptClient->checkMarkingCodes(
        arguments.apiKey(), arguments.markingCodes(), toMilliseconds(arguments.operationTimeout()),
        toMilliseconds(arguments.requestTimeout()));
    arguments.setVerifyResult(offlineCheckRequired(online, arguments.apiKey())
                                  ? offlineCheck(online, arguments.markingCodes(), arguments.apiKey())
                                  : online);
    return EContext::Done;
}

bool CrptService::offlineCheckRequired(const CheckMarkingCodesResult& result, const QString& apiKey) const
{
    const auto module = localModule();
    if (!module) {
        return false;
    }
    if (result.errorKind() != http::ErrorKind::SalePermitted &&
        result.errorKind() != http::ErrorKind::Unreachable) {
        return false;
    }
    if (module->getStatus(apiKey) == static_cast<int>(LmchzStatus::Ready)) {
        return true;
    }
    logger->warn(QStringLiteral("ЛМЧЗ не готов к работе"));
    return false;
}

CheckMarkingCodesResult CrptService::offlineCheck(const CheckMarkingCodesResult& result,
                                                  const QList<MarkingCode>& codes,
                                                  const QString& apiKey) const
{
    logger->info(QStringLiteral("Проверка в режиме офлайн"));
    return localModule()->checkMarkingCodes(result, codes, apiKey);
}
