#include <orvex/dialog.h>

#include <mutex>
#include <utility>

template class MockFactory<Dialog>;

namespace {

std::mutex presenterMutex;
Dialog::Presenter shownBy;  // guarded by it

}  // namespace

SimpleProgress::SimpleProgress(std::function<void()> close)
    : m_shown(nullptr, [close = std::move(close)](void*) {
        try {
            if (close) {
                close();
            }
        } catch (...) {  // the window is the host's; a check goes on without it
        }
    })
{
}

SimpleProgress Dialog::showProgress(const tr::Tr& title, const tr::Tr& text)
{
    std::unique_lock lock(presenterMutex);
    const Presenter presenter = shownBy;
    lock.unlock();
    return presenter ? SimpleProgress(presenter(title, text)) : SimpleProgress();
}

void Dialog::setPresenter(Presenter presenter)
{
    const std::lock_guard lock(presenterMutex);
    shownBy = std::move(presenter);
}
