#include "poshost/commands.h"

#include <chrono>

#include <unistd.h>

#include <QFile>

#include "poshost/cashier.h"
#include "poshost/checkcodes.h"
#include "poshost/doctoring.h"
#include "poshost/doctorjson.h"
#include "poshost/doctortext.h"
#include "poshost/exitstatus.h"
#include "poshost/explanationtext.h"
#include "poshost/failure.h"
#include "poshost/output.h"
#include "poshost/pinging.h"
#include "poshost/progressline.h"
#include "poshost/scenario.h"
#include "poshost/terminal.h"
#include "poshost/till.h"
#include "poshost/verification.h"
#include "poshost/verifyjson.h"
#include "poshost/verifytable.h"

namespace poshost {

namespace {

QList<MarkingCode> codesFor(const Options& options)
{
    QList<MarkingCode> codes = readCodes(options.codes, options.codesFile);
    if (!codes.isEmpty()) {
        return codes;
    }
    if (!Till::usesStand(options)) {
        refuse(QStringLiteral("verify: no codes; give some, or a file of them with --codes-file"));
    }
    QFile basket(QStringLiteral(":/samples/basket.txt"));
    if (!basket.open(QIODevice::ReadOnly)) {
        refuse(QStringLiteral("verify: no codes given, and the sample basket is not in this program"));
    }
    return codesOfLines(basket.readAll(), QStringLiteral("sample basket"));
}

/// A till has been up for a while when its first sale comes, and the plug-in has found its sites.
constexpr std::chrono::seconds warmUp{2};

void startOnlineServices(Till& till)
{
    till.session().sendEvent(EActivityListener::OnlineServicesRefresh);
    if (till.settings().maintainsModules) {
        till.session().sendEvent(EActivityListener::LocalModulesSetUp);
    }
    till.session().waitUntilIdle(till.signals().stopFd(), warmUp);
    till.signals().throwIfReceived();
}

void warnOfMissingSettings(const HostSettings& settings)
{
    if ((settings.hosts.isEmpty() || settings.keys.isEmpty()) && !settings.hasModules) {
        printNote(QStringLiteral("settings, [Host]: no hosts or no keys, so nobody can be asked; give both"));
    }
}

int runVerify(const Options& options)
{
    const QList<MarkingCode> codes = codesFor(options);
    Till till(options, Log4Qt::Level::Warn);
    Verification verification;
    verification.codes = codes;
    if (till.start()) {
        warnOfMissingSettings(till.settings());
        const ProgressLine progress;
        startOnlineServices(till);
        verification = verify(codes, till.settings(), options.refund, options.explain);
        till.signals().throwIfReceived();
    }
    verification.notifications = till.notifications().all();
    if (options.json) {
        printOut(toJson(verification));
    } else if (verification.isServed()) {
        printOut(toTable(verification, {showsColours(STDOUT_FILENO), terminalWidth(STDOUT_FILENO)}));
        printOut(explanationText(verification));
    }
    if (verification.triggerResult && !verification.isServed()) {
        printNote(QStringLiteral("the plug-in does not serve \"%1\"; use --service crpt")
                      .arg(till.settings().service));
    }
    return verification.exitStatus();
}

int runCashier(const Options& options)
{
    Till till(options, Log4Qt::Level::Off);
    if (!till.start()) {
        return exitstatus::NotServed;
    }
    warnOfMissingSettings(till.settings());
    startOnlineServices(till);
    return Cashier(till, options.refund ? Deal::Refund : Deal::Sale).run();
}

int runPing(const Options& options)
{
    Till till(options, Log4Qt::Level::Warn);
    const Ping result = till.start() ? ping() : Ping();
    till.signals().throwIfReceived();
    if (options.json) {
        printOut(toJson(result));
    } else if (result.isServed) {
        printOut(result.text + u'\n');
    }
    if (!result.isServed) {
        return exitstatus::NotServed;
    }
    return result.available ? exitstatus::Good : exitstatus::Bad;
}

void printNotification(const Notification& notification)
{
    printOut(notification.text.isEmpty() && notification.textId.isEmpty()
                 ? QStringLiteral("  сообщение %1 снято\n").arg(notification.id)
                 : QStringLiteral("  сообщение %1 (%2): %3\n")
                       .arg(notification.id, notification.textId, notification.text));
}

int runEvents(const Options& options)
{
    Till till(options, Log4Qt::Level::Debug);
    if (!till.start()) {
        return exitstatus::NotServed;
    }
    qsizetype printed = 0;
    for (const int code : options.events) {
        printOut(QStringLiteral("событие %1\n").arg(code));
        till.session().sendEvent(code);
        till.session().waitUntilIdle(till.signals().stopFd());
        till.signals().throwIfReceived();
        for (const Notification& notification : till.notifications().all().sliced(printed)) {
            printNotification(notification);
            ++printed;
        }
    }
    return exitstatus::Good;
}

int listScenarios()
{
    for (const Scenario& scenario : shippedScenarios()) {
        printOut(QStringLiteral("%1  %2\n").arg(scenario.name.leftJustified(16), scenario.shows));
    }
    return exitstatus::Good;
}

int runDoctor(const Options& options)
{
    if (options.listKeys) {
        printOut(options.json ? knownKeysJson() : knownKeysText());
        return exitstatus::Good;
    }
    const doctor::Report report = examine(options);
    printOut(options.json ? toJson(report) : toText(report, showsColours(STDOUT_FILENO)));
    return report.count(doctor::Level::Bad) == 0 ? exitstatus::Good : exitstatus::Bad;
}

}  // namespace

int run(const Options& options)
{
    switch (options.command) {
    case Command::Verify:
        return runVerify(options);
    case Command::Cashier:
        return runCashier(options);
    case Command::Ping:
        return runPing(options);
    case Command::Event:
        return runEvents(options);
    case Command::Scenarios:
        return listScenarios();
    case Command::Doctor:
        return runDoctor(options);
    }
    return exitstatus::Usage;
}

}  // namespace poshost
