#include <QCoreApplication>

#include <gtest/gtest.h>

/// Threads of Qt have an event loop only in a process that has an application object, as every host has.
int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
