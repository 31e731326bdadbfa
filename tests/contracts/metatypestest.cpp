#include <QLibrary>

#include "contracts/metatypes.h"
#include "tests/support/printers.h"
#include <gtest/gtest.h>

namespace {

constexpr const char* names[] = {"MarkingCode",
                                 "QList<MarkingCode>",
                                 "CheckMarkingCodesResult",
                                 "std::chrono::seconds",
                                 "control::args::marking::Verify::Service",
                                 "events::marking::InitVerifyService::Service",
                                 "QSharedPointer<BasicTask>"};

TEST(MetaTypes, AreKnownWhileTheLibraryIsLoadedAndAfterwardsToo)
{
    for (int load = 0; load < 3; ++load) {
        QLibrary library(CRPTSERVICE_LIBRARY);
        ASSERT_TRUE(library.load()) << library.errorString().toStdString();
        for (const char* name : names) {
            const QMetaType type = QMetaType::fromName(name);
            ASSERT_TRUE(type.isValid()) << name;
            const QVariant value(type), same(type);
            EXPECT_EQ(value, same) << name;
        }
        ASSERT_TRUE(library.unload());
        for (const char* name : {"tr::Tr", "QIterable<QMetaSequence>"}) {
            EXPECT_EQ(QMetaType::fromName(name).isValid(), load == 2) << "goes with its library: " << name;
        }
        if (load == 1) {
            contracts::registerMetaTypes();  // from now on the types of this program are those that are known
        }
    }
}

TEST(MetaTypes, CanBeComparedAndOrdered)
{
    for (const QMetaType& type : contracts::metaTypes()) {
        EXPECT_TRUE(type.isEqualityComparable()) << type.name();
        EXPECT_EQ(type.isOrdered(), type != QMetaType::fromType<tr::Tr>()) << type.name();
    }
    CheckMarkingCodesResult result;
    const QVariant empty = QVariant::fromValue(result);
    result.success = true;
    EXPECT_EQ(QVariant::compare(empty, QVariant::fromValue(result)), QPartialOrdering::Less);
}

TEST(MetaTypes, OfServicesAndTasksCanBePrintedAndThoseOfServicesStreamed)
{
    for (const QMetaType type : {QMetaType::fromType<control::args::marking::Verify::Service>(),
                                 QMetaType::fromType<events::marking::InitVerifyService::Service>()}) {
        EXPECT_TRUE(type.hasRegisteredDebugStreamOperator() && type.hasRegisteredDataStreamOperators());
    }
    EXPECT_TRUE(QMetaType::fromType<QSharedPointer<BasicTask>>().hasRegisteredDebugStreamOperator());
}

}  // namespace
