#pragma once

#include <QObject>
#include <QtPlugin>

#include <orvex/event.h>
#include <utils/export.h>

/// Base of objects that listen to host events. Registered with ActivityNotifier::addListener(); the
/// destructor takes every registration back and waits for a delivery that is running in another thread, so
/// that an object that is gone is never called.
///
/// A derived class whose handleEvent() uses its own members must call stopListening() in its own destructor:
/// when the base's destructor runs, those members are gone already.
class ORVEX_EXPORT BaseActivityListener : public QObject
{
    Q_OBJECT

public:
    explicit BaseActivityListener(QObject* parent = nullptr);
    ~BaseActivityListener() override;

    /// Called in the thread that sends the event, possibly in several threads at once.
    virtual void handleEvent(const Event& event) = 0;

protected:
    void stopListening();
};

Q_DECLARE_INTERFACE(BaseActivityListener, "ActivityListener")
