#include "modelcore/common/MCDynamicLoadedLibrary.h"
#include "support/Testing.h"

using MCCommon_930::MCDynamicLoadedLibrary;

TEST(MCDynamicLoadedLibrary, FailuresLeaveAMessageAndTheLoadedLibrary)
{
    MCDynamicLoadedLibrary library;
    EXPECT_EQ(library.GetSymbol("LoadedCube"), nullptr);
    EXPECT_FALSE(library.Unload());
    EXPECT_NE(library.GetLastMessage(), "");
    EXPECT_FALSE(library.Load(""));

    ASSERT_TRUE(library.Load(MODELCORE_TEST_LOADED_LIBRARY)) << library.GetLastMessage();
    EXPECT_FALSE(library.Load("no-such-library"));
    EXPECT_NE(library.GetLastMessage().find("no-such-library"), std::string::npos) << library.GetLastMessage();
    EXPECT_EQ(library.GetSymbol("LoadedCubes"), nullptr);
    EXPECT_NE(library.GetLastMessage().find("LoadedCubes"), std::string::npos) << library.GetLastMessage();
    auto* const cube = library.GetFunction<double(double)>("LoadedCube");
    ASSERT_NE(cube, nullptr);
    EXPECT_EQ(cube(3.0), 27.0);

    MCDynamicLoadedLibrary moved(std::move(library));
    EXPECT_FALSE(library.IsLoaded()); // NOLINT(bugprone-use-after-move): an empty loader is what is promised
    EXPECT_EQ(moved.GetFunction<double(double)>("LoadedCube"), cube);
    library = std::move(moved);
    EXPECT_FALSE(moved.IsLoaded()); // NOLINT(bugprone-use-after-move): likewise
    EXPECT_EQ(library.GetFunction<double(double)>("LoadedCube"), cube);
    EXPECT_TRUE(library.Unload());
    EXPECT_FALSE(library.IsLoaded());
}
