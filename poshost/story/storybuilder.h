#pragma once

#include <QString>

#include "poshost/story/checkstory.h"
#include <network/exchangerecord.h>

namespace poshost {

/// The codes of the line with which a check begins; nothing when `line` is another one.
[[nodiscard]] std::optional<QStringList> codesOfBegin(const QString& line);
/// Whether a check ends with this line.
[[nodiscard]] bool isEnd(const QString& line);

/// Makes the story of one check from the lines that its thread logs, in their order. The only reader of those
/// lines: of a check that runs now and of one in a log. One thread.
///
/// A reply's body is not logged: what it means is told by the lines that follow, and a reply with a status of
/// 2xx that none follows is a good one.
class StoryBuilder
{
public:
    /// Takes a line, `at` so long after the begin of the check.
    void add(std::chrono::nanoseconds at, const QString& line);
    /// Takes what is known more exactly of the exchange that the last line told, or of one that no line told;
    /// `at` is the begin of the exchange.
    void add(std::chrono::nanoseconds at, const http::ExchangeRecord& exchange);

    /// The story so far.
    [[nodiscard]] CheckStory story() const;

private:
    bool addExchange(std::chrono::nanoseconds at, const QString& line);
    bool addEnd(const QString& line);
    void correctClass(const QString& line);

    CheckStory m_story;
    bool m_isLastFromLine = false;  ///< the last step is known by its line alone
};

}  // namespace poshost
