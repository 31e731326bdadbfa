#include <memory>
#include <vector>

#include <CLI/CLI.hpp>

#include "poshost/language.h"
#include "poshost/reports/statustext.h"
#include "poshost/terminal/fatalerror.h"
#include "poshost/terminal/output.h"
#include "poshost/terminal/signals.h"
#include "poshost/till/till.h"
#include "poshost/verbs/verbs.h"

namespace poshost {

namespace {

constexpr int maxEvent = 65535;
constexpr std::chrono::hours idleLimit{1};

void printNotification(const Notification& notification)
{
    const QString id = oneLine(notification.id);
    printReport(notification.text.isEmpty()
                    ? said({u"  notice %1 withdrawn\n", u"  сообщение %1 снято\n"}).arg(id)
                    : said({u"  notice %1 (%2): %3\n", u"  сообщение %1 (%2): %3\n"})
                          .arg(id, oneLine(notification.textId), oneLine(notification.text)));
}

int runEvents(const Options& options, const std::vector<int>& events)
{
    Till till(options, {}, Log4Qt::Level::Debug);
    if (!till.start()) {
        return exitstatus::NotServed;
    }
    printReport(standHead(till.hasStand()));
    qsizetype printed = 0;
    for (const int code : events) {
        printReport(said({u"event %1\n", u"событие %1\n"}).arg(code));
        PluginSession::sendEvent(code);
        till.session().waitUntilIdle(idleLimit);
        Signals::throwIfReceived();
        for (const Notification& notification : till.notifications().all().sliced(printed)) {
            printNotification(notification);
            ++printed;
        }
    }
    return exitstatus::Good;
}

}  // namespace

void addEvent(CommandLine& line)
{
    const auto events = std::make_shared<std::vector<int>>();
    CLI::App* verb = line.addVerb("event", "Send host events and show what the plug-in does",
                                  [events](const Options& options) { return runEvents(options, *events); });
    verb->add_option("CODE", *events, "Event numbers: 96, 172, 10, ...")
        ->type_name("")
        ->required()
        ->check(CLI::Range(0, maxEvent));
    verb->footer(
        "Exit status: 0 the events were sent, 2 the command line or the configuration is wrong, 3 the "
        "plug-in\n"
        "is idle or cannot run, 4 standard output could not be written, 128 plus the number of a signal\n"
        "that ended it.");
}

}  // namespace poshost
