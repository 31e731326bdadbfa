#include <orvex/task.h>

#include <exception>
#include <utility>

#include <log4qt/logmanager.h>

template class Singleton<TaskManager>;

TaskResult::TaskResult(QMap<QString, QVariant> resultValues, tr::Tr resultText)
    : values(std::move(resultValues))
    , text(std::move(resultText))
{
}

TaskResult::~TaskResult() = default;

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
    return std::async(std::launch::async, [task]() -> QSharedPointer<TaskResult> {
        const auto* logger = Log4Qt::LogManager::logger(QStringLiteral("taskmanager"));
        try {
            return task ? task->run() : QSharedPointer<TaskResult>();
        } catch (const std::exception& exception) {
            logger->error(QStringLiteral("Задача завершилась исключением: %1"),
                          QString::fromUtf8(exception.what()));
        } catch (...) {
            logger->error(QStringLiteral("Задача завершилась исключением"));
        }
        return {};
    });
}
