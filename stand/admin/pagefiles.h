#pragma once

#include "stand/http/message.h"

#include <optional>
#include <string>

namespace marksim {

/// A file of the page that is packed into the program, by its path on the admin port; nothing for any other
/// path.
[[nodiscard]] std::optional<Answer> pageFile(const std::string& path);

/// Adds what tells a browser how far it may go with a reply of the admin port: run and show what comes from
/// here alone, guess no types, keep nothing, hand nothing to other pages.
void addBrowserPolicy(Answer& answer);

/// True for a request that a foreign page has a browser make, and for one that reached the admin port through
/// a foreign name: any but localhost and `publicHost`, the name that the stand itself hands out.
[[nodiscard]] bool isForeign(const Request& request, const std::string& publicHost);

}  // namespace marksim
