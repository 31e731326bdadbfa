#include "plugin/crptservice.h"

#include <algorithm>
#include <chrono>

#include "contracts/verify.h"
#include "crpt/crptclient.h"
#include "crpt/resultfitting.h"
#include "lmchz/lmchzclient.h"
#include "plugin/messages.h"
#include "result/statusnames.h"
#include <log4qt/logger.h>
#include <orvex/dialog.h>
#include <utils/printable.h>
#include <utils/tr.h>

using control::args::marking::Verify;
using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;

namespace {

/// The nearest whole second that milliseconds can hold for a limit out of their range.
milliseconds toMilliseconds(seconds limit)
{
    return std::clamp(limit, std::chrono::ceil<seconds>(milliseconds::min()),
                      std::chrono::floor<seconds>(milliseconds::max()));
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

/// The operator has given none: the local module may.
bool isWithoutVerdict(const CheckMarkingCodesResult& result)
{
    return result.errorKind() == http::ErrorKind::SalePermitted ||
           result.errorKind() == http::ErrorKind::Unreachable;
}

CheckMarkingCodesResult unreachable(const QList<MarkingCode>& codes)
{
    http::Response nothing;
    nothing.setErrorKind(http::ErrorKind::Unreachable);
    CheckMarkingCodesResult result{CheckMarkingCodesReply(nothing)};
    fitToErrorKind(result, codes);
    return result;
}

/// Names of the flags, or the operator's text where there are none, and the error code.
QString reasonsOf(const CheckMarkingCodesResult::CodeStatus& failed)
{
    constexpr qsizetype enough = 100;
    QStringList reasons = statusNames(failed.status);
    if (reasons.isEmpty()) {
        QString text = utils::printable(failed.message.left(enough));
        reasons.append(plugin::messages::refusedByMessage.arg(text.replace(u'»', u'"')));
    }
    if (failed.errorCode != 0) {
        reasons.append(QString::number(failed.errorCode));
    }
    return reasons.join(QLatin1String(", "));
}

/// How many codes were refused, and the first of them with their reasons.
QString refusedText(const CheckMarkingCodesResult& result)
{
    namespace messages = plugin::messages;
    constexpr qsizetype named = 20;
    const QString count = QString::number(result.failedCodes.size());
    QStringList texts;
    for (const auto& [code, failed] : result.failedCodes.asKeyValueRange()) {
        if (texts.size() == named) {
            texts.append(messages::refusedMore.arg(result.failedCodes.size() - named));
            break;
        }
        texts.append(messages::refusedCode.arg(code.toReadable(), reasonsOf(failed)));
    }
    return texts.isEmpty() ? count : messages::refusedCodes.arg(count, texts.join(QLatin1String(", ")));
}

}  // namespace

EContext::Result CrptService::checkMarkingCodes(const control::Action& action)
{
    const Verify arguments(action, QString());
    if (arguments.service() != Verify::Crpt) {
        return EContext::NotServed;
    }
    const SimpleProgress progress = showProgress();
    const CheckMarkingCodesResult online = checkOnline(arguments);
    try {
        arguments.setVerifyResult(withFallback(online, arguments));
    } catch (...) {
        logger->error(plugin::messages::offlineBroken);
        arguments.setVerifyResult(online);
    }
    logEnd(online, arguments);
    return EContext::Done;
}

/// A log out of order is no reason to refuse goods.
void CrptService::logEnd(const CheckMarkingCodesResult& online, const Verify& arguments) const
{
    namespace messages = plugin::messages;
    if (!logger->isEnabledFor(Log4Qt::Level::Info)) {
        return;
    }
    try {
        const CheckMarkingCodesResult result = arguments.verifyResult();
        const bool isModules = isWithoutVerdict(online) && !isWithoutVerdict(result);
        const QString address = result.url().toDisplayString(QUrl::RemoveUserInfo);
        const QString reply = isModules ? messages::replyOfModule
                              : address.isEmpty()
                                  ? messages::noReply
                                  : messages::replyOfSite.arg(QString::number(result.status()), address);
        logger->info(messages::checkEnded, result.passedCodes.size(), refusedText(result),
                     int(result.errorKind()), reply);
    } catch (...) {  // NOLINT(bugprone-empty-catch): nowhere to say so
    }
}

/// Nothing may leave the plug-in, and goods without a verdict are not sold: what breaks off is as good as a
/// network without a site.
CheckMarkingCodesResult CrptService::checkOnline(const Verify& arguments) const
{
    try {
        return crptClient->checkMarkingCodes(arguments.apiKey(), arguments.markingCodes(),
                                             toMilliseconds(arguments.operationTimeout()),
                                             toMilliseconds(arguments.requestTimeout()));
    } catch (...) {
        logger->error(plugin::messages::checkBroken);
        return unreachable(arguments.markingCodes());
    }
}

CheckMarkingCodesResult CrptService::withFallback(const CheckMarkingCodesResult& online,
                                                  const Verify& arguments) const
{
    const auto module = localModule();
    if (!module || !isWithoutVerdict(online)) {
        return online;
    }
    constexpr auto maxWait = std::chrono::floor<milliseconds>(nanoseconds::max());
    // Status and check are one exchange, during which nobody else may choose another module.
    const auto turn = module->takeTurn(
        std::clamp(toMilliseconds(arguments.operationTimeout()), CrptClient::minTimeLimit, maxWait));
    if (!turn.owns_lock()) {
        logger->warn(plugin::messages::moduleBusy);
        return online;
    }
    return offlineCheckRequired(online, arguments.apiKey())
               ? offlineCheck(online, arguments.markingCodes(), arguments.apiKey())
               : online;
}

bool CrptService::offlineCheckRequired(const CheckMarkingCodesResult& result, const QString& apiKey) const
{
    const auto module = localModule();
    if (!module || !isWithoutVerdict(result)) {
        return false;
    }
    if (module->getStatus(apiKey) == static_cast<int>(LmchzStatus::Ready)) {
        return true;
    }
    logger->warn(plugin::messages::moduleNotReady);
    return false;
}

CheckMarkingCodesResult CrptService::offlineCheck(const CheckMarkingCodesResult& result,
                                                  const QList<MarkingCode>& codes,
                                                  const QString& apiKey) const
{
    logger->info(plugin::messages::offlineCheck);
    return localModule()->checkMarkingCodes(result, codes, apiKey);
}
