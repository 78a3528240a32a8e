#include "cli/commands.h"

namespace tool {

// One line per subcommand, in the order of the help.  Its description is at the foot of its file.
#define EVERY_COMMAND(COMMAND) \
    COMMAND(identify)          \
    COMMAND(types)             \
    COMMAND(properties)        \
    COMMAND(paths)             \
    COMMAND(sandbox)           \
    COMMAND(run)               \
    COMMAND(doctor)            \
    COMMAND(help)

#define DECLARED(name) const Command& name##Command();
#define LISTED(name) {#name, name##Command},

EVERY_COMMAND(DECLARED)

namespace {

// Most calls need only one description, and building all of them takes longer than many a run.
struct Listed {
    const char* name_;
    const Command& (*describe_)();
};
constexpr Listed LIST[] = {EVERY_COMMAND(LISTED)};

}  // namespace

const std::vector<const Command*>& commands()
{
    static const std::vector<const Command*> list = [] {
        std::vector<const Command*> all;
        for (const Listed& listed : LIST)
            all.push_back(&listed.describe_());
        return all;
    }();
    return list;
}

const Command* commandNamed(const std::string& name)
{
    for (const Listed& listed : LIST)
        if (name == listed.name_)
            return &listed.describe_();
    return nullptr;
}

}  // namespace tool
