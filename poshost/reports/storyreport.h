#pragma once

#include <QString>

#include "poshost/story/checkstory.h"

namespace poshost {

/// A check of a log for a person: when, which codes, what came of it, how it went.
[[nodiscard]] QString storyText(const CheckStory& story);

/// The same for a program, one line of JSON: "begin", "thread", "codes", "outcome" ("passed", "refused",
/// "permitted", "unfinished"), "passed", "failed", and what explanationJson() has.
[[nodiscard]] QString storyJson(const CheckStory& story);

}  // namespace poshost
