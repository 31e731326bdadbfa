#include <orvex/task.h>

#include <utility>

#include <orvex/callgate.h>

template class Singleton<TaskManager>;

TaskResult::TaskResult(QMap<QString, QVariant> resultValues, tr::Tr resultText)
    : values(std::move(resultValues))
    , text(std::move(resultText))
{
}

QString TaskResult::toString() const
{
    return {};
}

BasicTask::~BasicTask() = default;

CustomTask::CustomTask(std::function<QSharedPointer<TaskResult>()> body)
    : m_body(std::move(body))
{
}

QSharedPointer<TaskResult> CustomTask::run()
{
    return m_body ? m_body() : QSharedPointer<TaskResult>();
}

std::future<QSharedPointer<TaskResult>> TaskManager::start(const QSharedPointer<BasicTask>& task)
{
    return std::async(std::launch::async, [task] {
        QSharedPointer<TaskResult> result;
        logExceptions(Log4Qt::LogManager::logger(QStringLiteral("taskmanager")),
                      QStringLiteral("Задача завершилась исключением"),
                      [&] { result = task ? task->run() : nullptr; });
        return result;
    });
}
