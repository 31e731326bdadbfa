#pragma once

#include <chrono>

#include <QList>
#include <QMetaType>
#include <QSharedPointer>

#include "contracts/service.h"
#include "result/checkmarkingcodesresult.h"
#include <orvex/task.h>
#include <utils/markingcode.h>
#include <utils/tr.h>

namespace contracts {

/// Makes the types that actions and events carry known from the caller's program. A host that unloads
/// plug-ins calls it before it loads the first one: Qt keeps the first description of a type that it meets
/// for the life of the process, and a plug-in's goes away with the plug-in. Threads: any; a second call does
/// nothing.
inline void registerMetaTypes()
{
    qRegisterMetaType<MarkingCode>();
    qRegisterMetaType<QList<MarkingCode>>();
    qRegisterMetaType<CheckMarkingCodesResult>();
    qRegisterMetaType<std::chrono::seconds>();
    qRegisterMetaType<marking::Service>();
    qRegisterMetaType<tr::Tr>();
    qRegisterMetaType<QSharedPointer<BasicTask>>();
}

}  // namespace contracts
