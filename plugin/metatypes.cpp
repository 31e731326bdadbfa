#include "contracts/metatypes.h"

namespace {

/// Qt's registry of meta-types keeps pointers to descriptions that lie in the library which registered them.
/// Those of this library go with it, or the next load would follow a pointer into nowhere.
struct ForgetAtUnload
{
    ~ForgetAtUnload()
    {
        QList<QMetaType> types = contracts::metaTypes();
        types.append(QMetaType::fromType<QIterable<QMetaSequence>>());  // what lists are converted to
        for (const QMetaType& type : types) {
            if (type.isRegistered() && QMetaType(type.id()).iface() == type.iface()) {
                QMetaType::unregisterMetaType(type);
            }
        }
    }
};

// In this order: converters that the registration leaves behind are to be gone before their types.
const ForgetAtUnload forgetMetaTypes;
const bool areMetaTypesKnown = (contracts::registerMetaTypes(), true);

}  // namespace
