#pragma once

#include <functional>
#include <memory>

#include <utils/export.h>
#include <utils/mockfactory.h>
#include <utils/tr.h>

/// Keeps a progress indication shown until the last copy of the handle is destroyed.
class ORVEX_EXPORT SimpleProgress
{
public:
    /// Shows nothing.
    SimpleProgress() = default;
    /// `close` is called once, when the last copy goes.
    explicit SimpleProgress(std::function<void()> close);

private:
    std::shared_ptr<void> m_shown;
};

/// The host's dialogs, as far as plug-ins use them. Created through MockFactory<Dialog>::create(). A dialog
/// may be released while a progress indication that it has shown is still up. Threads: any.
class ORVEX_EXPORT Dialog
{
public:
    /// Shows a progress indication and returns what takes it down. Called in the thread that asks for it.
    using Presenter = std::function<std::function<void()>(const tr::Tr& title, const tr::Tr& text)>;

    Dialog() = default;
    Dialog(const Dialog&) = delete;
    Dialog& operator=(const Dialog&) = delete;
    virtual ~Dialog() = default;

    /// Shows `title` and, when it is not empty, `text` until the returned handle is destroyed.
    [[nodiscard]] virtual SimpleProgress showProgress(const tr::Tr& title, const tr::Tr& text);

    /// How the host shows progress indications; an empty function (the default) shows none.
    static void setPresenter(Presenter presenter);
};

extern template class MockFactory<Dialog>;
