// Entry point of every GoogleTest binary: isolate the environment before any test runs.
#include "IsolatedEnvironment.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

int main(int argc, char **argv)
{
    IsolatedEnvironment environment;
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
