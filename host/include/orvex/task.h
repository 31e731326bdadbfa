#pragma once

#include <functional>
#include <future>

#include <QMap>
#include <QMetaType>
#include <QSharedPointer>
#include <QString>
#include <QVariant>

#include <utils/export.h>
#include <utils/singleton.h>
#include <utils/tr.h>

/// What a task came to: named values and a text.
class ORVEX_EXPORT TaskResult
{
public:
    TaskResult() = default;
    TaskResult(QMap<QString, QVariant> resultValues, tr::Tr resultText);
    TaskResult(const TaskResult&) = default;
    TaskResult(TaskResult&&) = default;
    TaskResult& operator=(const TaskResult&) = default;
    TaskResult& operator=(TaskResult&&) = default;
    virtual ~TaskResult() = default;

    /// Describes the result to a person; empty in TaskResult itself.
    [[nodiscard]] virtual QString toString() const;

    QMap<QString, QVariant> values;
    tr::Tr text;
};

/// Something that the host's task manager runs.
class ORVEX_EXPORT BasicTask
{
public:
    BasicTask() = default;
    BasicTask(const BasicTask&) = delete;
    BasicTask& operator=(const BasicTask&) = delete;
    virtual ~BasicTask();

    /// Runs to its end in the calling thread. May give a null pointer: no result.
    virtual QSharedPointer<TaskResult> run() = 0;
};

/// A task whose body is a function.
class ORVEX_EXPORT CustomTask : public BasicTask
{
public:
    explicit CustomTask(std::function<QSharedPointer<TaskResult>()> body);
    QSharedPointer<TaskResult> run() override;

private:
    std::function<QSharedPointer<TaskResult>()> m_body;
};

Q_DECLARE_METATYPE(QSharedPointer<BasicTask>)

/// Runs tasks in threads of its own. Reached as Singleton<TaskManager>::instance(). Threads: any.
class ORVEX_EXPORT TaskManager
{
public:
    /// Starts the task in a new thread. The future never holds an exception: one that the task throws is
    /// logged and gives a null result. The future's destructor waits for the task.
    [[nodiscard]] std::future<QSharedPointer<TaskResult>> start(const QSharedPointer<BasicTask>& task);
};

extern template class Singleton<TaskManager>;
