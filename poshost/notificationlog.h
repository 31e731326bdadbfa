#pragma once

#include <mutex>

#include <QList>
#include <QString>

#include "poshost/filedescriptor.h"
#include <orvex/baseactivitylistener.h>

namespace poshost {

/// A message for the cashier as it was sent; an empty text withdraws the one with the same id.
struct Notification
{
    QString id;
    QString textId;
    QString text;
};

/// Takes down the notifications (event 250) that are sent while it lives. Nothing in it points into the
/// plug-in: it may outlive the library. Threads: any.
class NotificationLog : public BaseActivityListener
{
    Q_OBJECT

public:
    NotificationLog();
    ~NotificationLog() override;

    void handleEvent(const Event& event) override;

    /// In the order in which they were sent.
    [[nodiscard]] QList<Notification> all() const;

    /// Readable once one has come since clearArrived(); for poll().
    [[nodiscard]] int arrivedFd() const { return m_arrived.get(); }
    void clearArrived() const;

private:
    mutable std::mutex m_mutex;
    QList<Notification> m_all;
    const FileDescriptor m_arrived;
};

}  // namespace poshost
