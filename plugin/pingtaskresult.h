#pragma once

#include <orvex/task.h>

/// Whether any of the operator's hosts answered a ping.
class PingTaskResult : public TaskResult
{
public:
    /// "сервер доступен - true" or "... - false".
    [[nodiscard]] QString toString() const override
    {
        return QStringLiteral("сервер доступен - %1").arg(QVariant(available).toString());
    }

    bool available = false;
};
