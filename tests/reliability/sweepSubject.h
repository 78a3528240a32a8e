#pragma once

#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "injection.h"

/// The subjects of the failure sweep: one operation each, and what must hold whatever failed.
namespace sweep {

using injection::Call;
using injection::CALLER;
using injection::CHILD;

class Problems {
public:
    void expect(bool holds, const std::string& what)
    {
        if (!holds)
            text_ += "  " + what + "\n";
    }
    template <class Value>
    void expectEqual(const Value& expected, const Value& actual, const std::string& what)
    {
        if (expected == actual)
            return;
        std::ostringstream text;
        text << "  " << what << ": expected '" << expected << "', got '" << actual << "'\n";
        text_ += text.str();
    }
    const std::string& text() const { return text_; }

private:
    std::string text_;
};

class Subject {
public:
    virtual ~Subject() = default;
    virtual void prepare() {}
    virtual void operate() = 0;
    virtual void check(Problems& problems) = 0;
    /// The next ordinary use; also ends whatever is still running.
    virtual void useAgain(Problems&) {}
    /// Whether its log messages also go to standard error.
    virtual bool saysItOnStandardError() const { return false; }
};

struct Operation {
    const char* name;
    injection::Side side;  // whose calls fail
    std::function<std::unique_ptr<Subject>()> make;
};

template <class S>
Operation operation(const char* name, injection::Side side = CALLER)
{
    return {name, side, [] { return std::unique_ptr<Subject>(new S); }};
}

std::vector<Operation> operationsOfSupervision();
std::vector<Operation> guardedOperations();
std::vector<Operation> operationsOfIdentification();

// Building blocks of the subjects' checks.
std::string reason(int error);
std::string joined(const std::vector<std::string>& lines);
const Call* firstFailed(const std::vector<Call>& calls, const char* name);

}  // namespace sweep
