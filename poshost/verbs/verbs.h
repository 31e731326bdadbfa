#pragma once

#include "poshost/commandline.h"

namespace poshost {

/// All verbs. Each of the others adds the one that it is named after, from the file of that name.
void addVerbs(CommandLine& line);

void addVerify(CommandLine& line);
void addCashier(CommandLine& line);
void addPing(CommandLine& line);
void addEvent(CommandLine& line);
void addDoctor(CommandLine& line);
void addStory(CommandLine& line);
void addScenarios(CommandLine& line);

}  // namespace poshost
