#include <cmath>
#include <functional>
#include <map>
#include <stdexcept>

#include <QCoreApplication>
#include <QProcess>
#include <QRegularExpression>
#include <valgrind/callgrind.h>

#include "benchmarks/figure.h"
#include "benchmarks/plugin/bareclient.h"
#include "benchmarks/plugin/servers.h"
#include "benchmarks/plugin/till.h"
#include "benchmarks/result/replies.h"
#include "crpt/resultfitting.h"
#include "lmchz/lmchzclient.h"
#include <config/config.h>
#include <log4qt/logmanager.h>
#include <network/restclient.h>

namespace bench {

namespace {

using Result = CheckMarkingCodesResult;

void count(const auto& work)
{
    CALLGRIND_START_INSTRUMENTATION;
    work();
    CALLGRIND_STOP_INSTRUMENTATION;
}

/// Half of the codes of one are in the other, half of them pass.
void merge(int size)
{
    Result one = resultOf(refusalFor(codesOf(size)));
    const Result other = resultOf(replyFor(codesOf(size, size / 2)));
    count([&] { one += other; });
}

void ignore(int size)
{
    Result refused = resultOf(refusalFor(codesOf(size)));
    count([&] { refused.ignore(Result::Sold); });
}

void hasError(int size)
{
    const Result refused = resultOf(refusalFor(codesOf(size)));
    count([&] { (void)refused.hasError(Result::Expired); });
}

/// The reply leaves half of the codes out.
void fit(int size)
{
    const QList<MarkingCode> codes = codesOf(size);
    Result answered = resultOf(replyFor(codes.first(size / 2)));
    count([&] { fitToErrorKind(answered, codes); });
}

/// A local module that answers at once.
class InstantModule : public RestClient
{
public:
    explicit InstantModule(const QByteArray& reply)
        : m_reply(reply)
    {
        MockFactory<RestClient>::mocked = this;
    }
    ~InstantModule() override { MockFactory<RestClient>::mocked = nullptr; }

    http::Response get(const QUrl&, const QJsonDocument&, const QHash<QString, QString>&) override
    {
        return responseOf(R"({"status":"ready"})");
    }
    http::Response post(const QUrl&, const QJsonDocument&, const QHash<QString, QString>&) override
    {
        return responseOf(m_reply);
    }

private:
    const QByteArray m_reply;
};

void askModule(int size)
{
    Log4Qt::LogSettings log;
    log.level = Log4Qt::Level::Error;
    Log4Qt::LogManager::configure(log);
    const QList<MarkingCode> codes = codesOf(size);
    QList<MarkingCode> identities;
    for (const MarkingCode& code : codes) {
        identities.append(MarkingCode(code.cis()));
    }
    const InstantModule module(R"({"results":[)" + replyFor(identities) + "]}");
    Singleton<Config>::instance()->setValue("LMCHZ:enable", "true");
    Singleton<Config>::instance()->setValue("LMCHZ:token", "key");
    LmchzClient client;
    Result result;
    count([&] { result = client.checkMarkingCodes({}, codes, "key"); });
    if (result.passedCodes.size() != size) {
        throw std::runtime_error("the module's verdicts did not arrive");
    }
}

/// Once before it counts: that finds the sites and connects.
void twice(const std::function<void()>& work)
{
    work();
    count(work);
}

void check(int size)
{
    Sites sites(1);
    sites.setReply(replyFor(codesOf(size)));
    Till till(sites);
    twice([&, codes = codesOf(size)] { till.check(codes); });
}

void floor(int size)
{
    Sites sites(1);
    sites.setReply(replyFor(codesOf(size)));
    BareClient client;
    twice([&, codes = codesOf(size)] { client.check(sites.codesCheckUrl(0), codes); });
}

const std::map<QString, void (*)(int)> works = {
    {"merge", merge},         {"ignore", ignore}, {"hasError", hasError}, {"fit", fit},
    {"re-keying", askModule}, {"check", check},   {"floor", floor},
};

/// Runs `work` for so many codes in a process of its own under callgrind: the instructions of what it counts.
double instructionsOf(const QString& work, int codes)
{
    qputenv("QT_HASH_SEED", "0");  // the same figures every time
    QProcess valgrind;
    valgrind.start("valgrind", {"--tool=callgrind", "--instr-atstart=no", "--callgrind-out-file=/dev/null",
                                QCoreApplication::applicationFilePath(), "--count", work, "--codes",
                                QString::number(codes)});
    valgrind.waitForFinished(-1);
    const QString report = QString::fromUtf8(valgrind.readAllStandardError());
    static const QRegularExpression collected(QStringLiteral("Collected : (\\d+)"));
    const auto match = collected.match(report);
    if (valgrind.exitCode() != 0 || !match.hasMatch()) {
        throw std::runtime_error("valgrind: " + report.toStdString());
    }
    return match.captured(1).toDouble();
}

}  // namespace

void countInstructions(const QString& work, int codes)
{
    works.at(work)(codes);
}

Figure measureGrowth()
{
    constexpr int few = 100, many = 100'000;
    Figure figure{"How instructions grow, as exponents of the number of codes", countedCodes(many),
                  countedCodes(few)};
    for (const char* name : {"merge", "fit", "ignore", "hasError", "re-keying"}) {
        const double atMany = instructionsOf(name, many), atFew = instructionsOf(name, few);
        const double exponent = std::log(atMany / atFew) / std::log(double(many) / few);
        figure.rows.push_back({name, atMany, atFew, 1.05, exponent, ""});
    }
    return figure;
}

}  // namespace bench
