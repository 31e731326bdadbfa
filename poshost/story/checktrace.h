#pragma once

#include <chrono>
#include <thread>

#include "poshost/story/storybuilder.h"

namespace poshost {

/// Takes down what the thread that made it does over HTTP and says in the log (masked, level debug and
/// above), while it lives. A check runs from its begin to its end in the thread that asks for it, so what
/// other threads do meanwhile (a list update, a ping) is no part of it and is left out. One at a time; it
/// takes the log's watcher.
class CheckTrace
{
public:
    CheckTrace();
    CheckTrace(const CheckTrace&) = delete;
    CheckTrace& operator=(const CheckTrace&) = delete;
    ~CheckTrace();

    /// What has happened until now. For the thread that made it.
    [[nodiscard]] CheckStory story() const;

private:
    template <class Entry>
    void add(std::chrono::steady_clock::time_point at, const Entry& entry);

    const std::thread::id m_owner = std::this_thread::get_id();
    const std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
    StoryBuilder m_builder;
};

}  // namespace poshost
