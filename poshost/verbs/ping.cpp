#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>

#include <CLI/App.hpp>
#include <QElapsedTimer>
#include <QJsonObject>

#include "poshost/reports/statustext.h"
#include "poshost/terminal/fatalerror.h"
#include "poshost/terminal/jsonvalues.h"
#include "poshost/terminal/output.h"
#include "poshost/terminal/signals.h"
#include "poshost/terminal/worker.h"
#include "poshost/till/till.h"
#include "poshost/verbs/verbs.h"
#include <orvex/actiondispatcher.h>
#include <orvex/args.h>
#include <orvex/task.h>

namespace poshost {

namespace {

/// What a connection check came to.
struct Ping
{
    std::optional<int> triggerResult;  ///< EContext::Result; nothing when nobody was there to ask
    bool isServed = false;             ///< the plug-in gave a task, and the task a result
    bool available = false;
    QString text;
    std::chrono::milliseconds elapsed{0};
};

/// Has the plug-in check its connections, on the host's task manager.
Ping ping()
{
    const control::Action action(control::EActionType::CheckConnection);
    control::args::Plugin(action).setPluginName(QStringLiteral("crpt"));

    Ping ping;
    QElapsedTimer timer;
    timer.start();
    const QList<EContext::Result> answers = Singleton<ActionDispatcher>::instance()->perform(action);
    if (!answers.isEmpty()) {
        ping.triggerResult = *std::min_element(answers.begin(), answers.end());
    }
    const auto task = action.value(QStringLiteral("pingTask")).value<QSharedPointer<BasicTask>>();
    if (task) {
        const QSharedPointer<TaskResult> result = Singleton<TaskManager>::instance()->start(task).get();
        ping.isServed = !result.isNull();
        ping.text = ping.isServed ? detached(result->toString()) : QString();
        // The text is all that a host is told.
        ping.available = ping.text.endsWith(QLatin1String(" true"));
    }
    ping.elapsed = std::chrono::milliseconds(timer.elapsed());
    return ping;
}

QString toJson(const Ping& ping, bool stand)
{
    const QJsonObject object = {
        {QStringLiteral("triggerResult"), orNull(ping.triggerResult)},
        {QStringLiteral("available"), ping.available},
        {QStringLiteral("text"), ping.text},
        {QStringLiteral("elapsedMs"), qint64(ping.elapsed.count())},
    };
    return jsonLine(object, stand);
}

int runPing(const Options& options, bool json)
{
    Till till(options, {}, Log4Qt::Level::Warn);
    const Ping result = till.start() ? inWorker(&ping) : Ping();
    Signals::throwIfReceived();
    if (json) {
        printOut(toJson(result, till.hasStand()));
    } else if (result.isServed) {
        printReport(standHead(till.hasStand()) + oneLine(result.text) + u'\n');
    }
    if (!result.isServed) {
        return exitstatus::NotServed;
    }
    return result.available ? exitstatus::Good : exitstatus::Bad;
}

}  // namespace

void addPing(CommandLine& line)
{
    const auto json = std::make_shared<bool>(false);
    CLI::App* verb = line.addVerb("ping", "Ask whether any of the operator's servers answers",
                                  [json](const Options& options) { return runPing(options, *json); });
    verb->add_flag("--json", *json, "Print one JSON object instead of a line");
    verb->footer(
        "Exit status: 0 some server answers, 1 none does, 2 the command line or the configuration is wrong,\n"
        "3 the plug-in is idle, cannot run or did not take the action, 4 standard output could not be\n"
        "written, 128 plus the number of a signal that ended it.");
}

}  // namespace poshost
