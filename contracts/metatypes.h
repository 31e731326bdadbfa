#pragma once

#include <chrono>

#include <QList>
#include <QMetaType>
#include <QSharedPointer>

#include "contracts/initverifyservice.h"
#include "contracts/verify.h"
#include <orvex/task.h>
#include <utils/tr.h>

namespace contracts {

/// The types that actions and events carry, as the caller's program describes them.
inline QList<QMetaType> metaTypes()
{
    return {QMetaType::fromType<MarkingCode>(),
            QMetaType::fromType<QList<MarkingCode>>(),
            QMetaType::fromType<CheckMarkingCodesResult>(),
            QMetaType::fromType<std::chrono::seconds>(),
            QMetaType::fromType<control::args::marking::Verify::Service>(),
            QMetaType::fromType<events::marking::InitVerifyService::Service>(),
            QMetaType::fromType<tr::Tr>(),
            QMetaType::fromType<QSharedPointer<BasicTask>>()};
}

/// Makes these types known by name, from the caller's program. A host that unloads plug-ins calls it before
/// it loads the first one: Qt keeps the first description of a type that it meets for the life of the
/// process, and a plug-in's goes away with the plug-in. Threads: any; a second call does nothing.
inline void registerMetaTypes()
{
    for (const QMetaType& type : metaTypes()) {
        type.id();
    }
    const QMetaType seconds(QMetaType::fromType<std::chrono::seconds>().id());
    QMetaType::registerNormalizedTypedef("std::chrono::seconds", seconds);
}

}  // namespace contracts
