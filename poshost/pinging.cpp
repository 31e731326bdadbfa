#include "poshost/pinging.h"

#include <algorithm>

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>

#include "poshost/detached.h"
#include <orvex/actiondispatcher.h>
#include <orvex/args.h>
#include <orvex/task.h>

namespace poshost {

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

QString toJson(const Ping& ping)
{
    const QJsonObject object = {
        {QStringLiteral("triggerResult"),
         ping.triggerResult ? QJsonValue(*ping.triggerResult) : QJsonValue()},
        {QStringLiteral("available"), ping.available},
        {QStringLiteral("text"), ping.text},
        {QStringLiteral("elapsedMs"), qint64(ping.elapsed.count())},
    };
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)) + u'\n';
}

}  // namespace poshost
