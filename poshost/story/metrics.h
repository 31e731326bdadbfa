#pragma once

#include <QList>
#include <QString>

#include "poshost/story/checkstory.h"

namespace poshost {

/// The checks in the text format of Prometheus, for a textfile collector: names begin with "crptservice_".
[[nodiscard]] QString toMetrics(const QList<CheckStory>& checks);

}  // namespace poshost
