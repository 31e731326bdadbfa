#include "plugin/crptservice.h"

#include <chrono>

#include "contracts/verify.h"
#include "crpt/crptclient.h"
#include "crpt/resultfitting.h"
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

/// A display out of order is no reason to refuse goods: the check goes on without the indication.
SimpleProgress showProgress()
{
    try {
        return MockFactory<Dialog>::create()->showProgress(
            tr::Tr(QStringLiteral("processRequestMessage"), QStringLiteral("Обращение к серверу...")),
            tr::Tr());
    } catch (...) {
        return {};
    }
}

CheckMarkingCodesResult unreachable(const QList<MarkingCode>& codes)
{
    http::Response nothing;
    nothing.setErrorKind(http::ErrorKind::Unreachable);
    CheckMarkingCodesResult result{CheckMarkingCodesReply(nothing)};
    fitToErrorKind(result, codes);
    return result;
}

}  // namespace

EContext::Result CrptService::checkMarkingCodes(const control::Action& action)
{
    const control::args::marking::Verify arguments(action, QString());
    if (arguments.service() != control::args::marking::Verify::Crpt) {
        return EContext::NotServed;
    }
    const SimpleProgress progress = showProgress();
    try {
        arguments.setVerifyResult(check(arguments));
    } catch (...) {
        // Nothing may leave the plug-in, and goods without a verdict may not be sold.
        logger->error(QStringLiteral("Проверка кодов маркировок прервана исключением"));
        arguments.setVerifyResult(unreachable(arguments.markingCodes()));
    }
    return EContext::Done;
}

CheckMarkingCodesResult CrptService::check(const control::args::marking::Verify& arguments) const
{
    const QString apiKey = arguments.apiKey();
    CheckMarkingCodesResult online = crptClient->checkMarkingCodes(
        apiKey, arguments.markingCodes(), toMilliseconds(arguments.operationTimeout()),
        toMilliseconds(arguments.requestTimeout()));
    if (offlineCheckRequired(online, apiKey)) {
        return offlineCheck(online, arguments.markingCodes(), apiKey);
    }
    return online;
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
