#include <gtest/gtest.h>

#include "tl/Facade.h"

namespace {

struct Directory {
    const char* path;
    const char* directory;
};

// clang-format off
constexpr Directory DIRECTORIES[] = {
    { "/etc/um-state",                    "/etc"            },
    { "/tmp/upmand/etc/um-state.corrupt", "/tmp/upmand/etc" },
    { "/var/cache/upman/",                "/var/cache"      },
    { "/a",                               ""                },
    { "/a/",                              ""                },
    { "a/b",                              "a"               },
    { "./a",                              "."               },
    // no slash, or only a trailing one: the path is unchanged
    { "name",                             "name"            },
    { "abc",                              "abc"             },
    { "a/",                               "a/"              },
    { "",                                 ""                },
    // one trailing slash is ignored, even if there are several
    { "/",                                ""                },
    { "//",                               ""                },
    { "///",                              "/"               },
    { "/a//",                             "/a"              },
    { "/a///",                            "/a/"             },
    { "a//",                              "a"               },
    { "//a",                              "/"               },
};
// clang-format on

}  // namespace

TEST(FacadeDirName, IsWhatStandsBeforeTheLastSlashThatIsNotTrailing)
{
    for (const Directory& row : DIRECTORIES)
        EXPECT_EQ(row.directory, tl::Facade::dirName(row.path)) << '"' << row.path << '"';
}

TEST(FacadeDirName, KeepsAnyByte)
{
    const std::string path("/\xff\0%/x", 6);

    EXPECT_EQ(path.substr(0, 4), tl::Facade::dirName(path));
}
