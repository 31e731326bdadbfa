#pragma once

#include <mutex>

#include <QStringList>

#include <orvex/baseactivitylistener.h>

/// The cashier: sees the notices that are sent while the object lives. Threads: any.
class NoticeWatch : public BaseActivityListener
{
    Q_OBJECT

public:
    NoticeWatch();
    ~NoticeWatch() override;

    void handleEvent(const Event& event) override;

    /// The notices since the last call as "<id>|<text id>|<text>", in order; "<id>||" withdraws.
    [[nodiscard]] QStringList take();

private:
    std::mutex m_mutex;
    QStringList m_notices;
};
