// A local module's replies: status, initialisation, grey lists, checks. The input is a Feed.

#include <algorithm>

#include "fuzz/fuzz.h"
#include "lmchz/lmchzclient.h"
#include <config/config.h>
#include <orvex/eactivitylistener.h>

using fuzz::require;
using Result = CheckMarkingCodesResult;

namespace {

const auto Token = QStringLiteral("token");

void configure()
{
    Config& config = *Singleton<Config>::instance();
    if (config.contains(QStringLiteral("LMCHZ1:token"))) {
        return;
    }
    config.setValue(QStringLiteral("LMCHZ1:token"), Token);
    for (const char* key : {"enable", "maintain", "enableGreyList"}) {
        config.setValue(QStringLiteral("LMCHZ1:") + QLatin1String(key), QStringLiteral("true"));
    }
}

template <class Value>
bool isAboutRequested(const QMap<MarkingCode, Value>& map)
{
    const QList<MarkingCode> keys = map.keys();
    return std::all_of(keys.begin(), keys.end(),
                       [](const MarkingCode& code) { return fuzz::requestedCodes().contains(code); });
}

void check(LmchzClient& client, const Result& online)
{
    const Result result = client.checkMarkingCodes(online, fuzz::requestedCodes(), Token);
    if (result.status() == online.status()) {
        require(result == online, "without an answer the online result stands");
        return;
    }
    require(isAboutRequested(result.failedCodes) && isAboutRequested(result.requestInfos) &&
                isAboutRequested(result.mrps),
            "nothing is said of codes that were not asked for");
    qsizetype passed = 0;
    for (const MarkingCode& code : fuzz::requestedCodes()) {
        const bool passes = result.passedCodes.contains(code);
        passed += passes ? 1 : 0;
        require(result.requestInfos.contains(code) == (passes || result.failedCodes.contains(code)),
                "reported is what has a verdict");
    }
    require(result.passedCodes.size() == passed, "a code passes once, and no other does");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    configure();
    const fuzz::Feed feed(fuzz::bytesOf(data, size));
    LmchzClient client;
    Result online;
    online.setStatus(503);
    online.passedCodes = fuzz::requestedCodes();

    check(client, online);
    client.init(Event(EActivityListener::LocalModulesSetUp));
    client.init(Event(EActivityListener::LocalModulesSetUp));
    check(client, online);
    const int status = client.getStatus(Token);
    require(status >= int(LmchzStatus::Unknown) && status <= int(LmchzStatus::SyncError),
            "a status is known");
    return 0;
}
