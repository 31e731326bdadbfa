#include <orvex/dialog.h>

#include <mutex>
#include <utility>

template class MockFactory<Dialog>;

namespace {

struct Shared
{
    std::mutex mutex;
    Dialog::Presenter presenter;
};

Shared& shared()
{
    static Shared instance;
    return instance;
}

}  // namespace

SimpleProgress::SimpleProgress(std::function<void()> close)
    : m_shown(nullptr, [close = std::move(close)](void*) {
        if (close) {
            close();
        }
    })
{
}

Dialog::~Dialog() = default;

SimpleProgress Dialog::showProgress(const tr::Tr& title, const tr::Tr& text)
{
    Presenter presenter;
    {
        const std::lock_guard lock(shared().mutex);
        presenter = shared().presenter;
    }
    return presenter ? SimpleProgress(presenter(title, text)) : SimpleProgress();
}

void Dialog::setPresenter(Presenter presenter)
{
    const std::lock_guard lock(shared().mutex);
    shared().presenter = std::move(presenter);
}
