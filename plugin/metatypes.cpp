#include <chrono>

#include <QMetaType>

#include "contracts/service.h"
#include "crpt/crptclient.h"
#include "result/checkmarkingcodesresult.h"
#include <orvex/task.h>
#include <utils/markingcode.h>
#include <utils/tr.h>

namespace {

/// Qt's registry of meta-types keeps pointers to descriptions that lie in the library which registered them.
/// Those of this library go with it, or the next load would follow a pointer into nowhere.
template <class T>
void forget()
{
    const QMetaType type = QMetaType::fromType<T>();
    if (type.isRegistered() && QMetaType(type.id()).iface() == type.iface()) {
        QMetaType::unregisterMetaType(type);
    }
}

template <class... Types>
struct ForgetAtUnload
{
    ~ForgetAtUnload() { (forget<Types>(), ...); }
};

const ForgetAtUnload<CheckMarkingCodesResult, CrptClient::UpdateInfoStatus, MarkingCode, QList<MarkingCode>,
                     QSharedPointer<BasicTask>, marking::Service, std::chrono::seconds, tr::Tr>
    ForgetMetaTypes;

}  // namespace
