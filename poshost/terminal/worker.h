#pragma once

#include <chrono>
#include <future>
#include <system_error>
#include <thread>

#include <QEventLoop>

#include "poshost/terminal/fatalerror.h"
#include <log4qt/logmanager.h>

namespace poshost {

/// Runs `work` to its end in a thread of its own, and the event loop of the calling thread meanwhile. Returns
/// what `work` returns and throws what it throws. Throws FatalError when the thread cannot be started; `work`
/// has not begun then.
template <class Work>
std::invoke_result_t<Work> inWorker(Work work)
{
    std::packaged_task<std::invoke_result_t<Work>()> task(std::move(work));
    QEventLoop loop;
    const auto run = [&] {
        const QEventLoop ownLoop;  // with it the thread has what timers need
        task();
        // What was logged is to stand before what is printed of it, unless nobody reads the log.
        (void)Log4Qt::LogManager::flush(std::chrono::milliseconds(200));
        QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
    };
    // Not a QThread: that one may still be at its end after wait(), and what libraries keep for it would
    // leak.
    std::thread thread;
    try {
        thread = std::thread(run);
    } catch (const std::system_error&) {
        refuseThread(QStringLiteral("the work"));
    }
    loop.exec();
    thread.join();
    return task.get_future().get();
}

}  // namespace poshost
