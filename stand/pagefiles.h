#pragma once

#include "answer.h"

#include <optional>
#include <string>

namespace marksim {

/// A file of the page that is packed into the program, by its path on the admin port; nothing for any other
/// path.
[[nodiscard]] std::optional<Answer> pageFile(const std::string& path);

/// Adds what tells a browser how far it may go with a reply of the admin port: run and show what comes from
/// here alone, guess no types, keep nothing, hand nothing to other pages.
void confine(Answer& answer);

}  // namespace marksim
