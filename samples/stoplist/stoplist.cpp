#include "stoplist.h"

#include <algorithm>

#include <config/config.h>
#include <contracts/verify.h>
#include <log4qt/logmanager.h>
#include <utils/singleton.h>

bool StopList::init()
{
    m_gtins = Singleton<Config>::instance()->getList(QStringLiteral("StopList:gtins"));
    if (m_gtins.isEmpty()) {
        return false;
    }
    addTrigger(ActionTrigger(
        EContext::Any, control::EActionType::VerifyMarking, ActionTrigger::During,
        [this](const control::Action& action) { return check(action); }, ActionTrigger::Whatever,
        ActionTrigger::Normal));
    return true;
}

EContext::Result StopList::check(const control::Action& action) const
{
    const control::args::marking::Verify arguments(action, QString());
    CheckMarkingCodesResult result;
    const QList<MarkingCode> codes = arguments.markingCodes();
    for (const MarkingCode& code : codes) {
        if (isStopped(code)) {
            auto& failed = result.failedCodes[code];
            failed.status = CheckMarkingCodesResult::Blocked;
            failed.message = QStringLiteral("в стоп-листе магазина");
        } else {
            result.passedCodes.append(code);
        }
    }
    arguments.setVerifyResult(result);
    Log4Qt::LogManager::logger(QStringLiteral("stoplist"))
        ->info(QStringLiteral("Проверено кодов: %1, отказано: %2"), codes.size(), result.failedCodes.size());
    return EContext::Done;
}

bool StopList::isStopped(const MarkingCode& code) const
{
    const QString cis = code.cis();
    return std::any_of(m_gtins.begin(), m_gtins.end(),
                       [&cis](const QString& gtin) { return cis.startsWith(QLatin1String("01") + gtin); });
}
