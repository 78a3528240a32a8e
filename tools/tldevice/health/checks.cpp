#include <algorithm>

#include "health/Check.h"
#include "system/Failure.h"

namespace tool {

Patient thisMachine()
{
    try {
        return {examineThisDevice(), ""};
    } catch (const Failure& failure) {
        return {std::nullopt, failure.message_};
    }
}

std::vector<Check> examineMachine(const Patient& patient)
{
    std::vector<Check> checks;
    for (const auto* table : {&identityChecks(), &updateManagerChecks(), &machineChecks()})
        for (const CheckRow& row : *table)
            for (const Remark& found : row.look_(patient))
                checks.push_back(
                    {found.level_, row.name_, found.message_, found.advice_, found.command_});
    std::stable_sort(checks.begin(), checks.end(),
                     [](const Check& a, const Check& b) { return a.level_ > b.level_; });
    return checks;
}

}  // namespace tool
