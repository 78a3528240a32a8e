#include "answer/Answer.h"

#include <algorithm>
#include <numeric>

#include "answer/json.h"
#include "text/bytes.h"

namespace tool {

namespace {

constexpr std::size_t CONSOLE = 80;  // columns

std::string upperCase(std::string name)
{
    for (char& c : name)
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    return name;
}

std::string capitalised(const std::string& title)
{
    return upperCase(title.substr(0, 1)) + title.substr(1);
}

std::string plainRow(const Row& row)
{
    std::string line;
    for (const Cell& cell : row) {
        if (!line.empty() || &cell != &row.front())
            line += '\t';
        line += escaped(text(cell.value_));
    }
    return line + "\n";
}

// One line per row.  If there are both fields and lists, the fields come first, and each line of a
// list starts with the name of the list.
std::string plain(const Answer& answer)
{
    std::string out = answer.fields_.empty() ? "" : plainRow(answer.fields_);
    for (const List& list : answer.lists_)
        for (const Row& row : list.rows_)
            out += (answer.fields_.empty() ? "" : std::string(list.name_) + "\t") + plainRow(row);
    return out;
}

std::string shellLine(const std::string& key, const Value& value)
{
    const std::string bytes = text(value);
    if (bytes.find('\0') != std::string::npos)
        throw Failure{EXIT_TROUBLE, FailureCode::NOT_FOR_SHELLS,
                      "the value of " + key +
                          " contains a NUL byte, which no shell variable can hold; "
                          "use --json"};
    return key + "=" + shellQuoted(bytes) + "\n";
}

std::string shell(const Answer& answer)
{
    std::string out;
    for (const Cell& cell : answer.fields_)
        out += shellLine("TL_" + upperCase(cell.is_->name_), cell.value_);
    for (const List& list : answer.lists_) {
        const std::string prefix = "TL_" + upperCase(list.name_);
        out += shellLine(prefix, std::to_string(list.rows_.size()));
        for (std::size_t i = 0; i < list.rows_.size(); ++i)
            for (const Cell& cell : list.rows_[i])
                out += shellLine(
                    prefix + "_" + std::to_string(i + 1) + "_" + upperCase(cell.is_->name_),
                    cell.value_);
    }
    return out + errorForShell(answer.errorCode_);
}

std::string forPeople(const Answer& answer, bool header)
{
    if (!answer.people_.empty())
        return answer.people_;
    std::string out = inColumn(answer.fields_);
    for (const List& list : answer.lists_)
        out += aligned(list.rows_, header);
    return out;
}

// Columns on a screen: UTF-8 continuation bytes take none.
std::size_t width(const std::string& shown)
{
    return static_cast<std::size_t>(std::count_if(shown.begin(), shown.end(), [](char c) {
        return (static_cast<unsigned>(c) & 0xC0U) != 0x80U;
    }));
}

std::string padded(const std::string& shown, std::size_t columns)
{
    const std::size_t taken = width(shown);
    return shown + std::string(taken < columns ? columns - taken : 0, ' ');
}

std::string withoutTrailingBlanks(std::string line)
{
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

std::vector<std::string> shownCells(const Row& row)
{
    std::vector<std::string> cells;
    for (const Cell& cell : row)
        cells.push_back(escaped(text(cell.value_)));
    return cells;
}

std::vector<std::string> headings(const Row& row)
{
    std::vector<std::string> cells;
    for (const Cell& cell : row)
        cells.push_back(upperCase(cell.is_->title_));
    return cells;
}

}  // namespace

std::string described(const FieldName& field)
{
    std::string line = field.says_;
    for (std::size_t i = 0; i < field.words_.size(); ++i)
        line += (i == 0                        ? ": "
                 : i + 1 < field.words_.size() ? ", "
                                               : " or ") +
                std::string(field.words_[i][0] != '\0' ? field.words_[i] : "empty");
    return line;
}

std::string text(const Value& value)
{
    if (const auto* one = std::get_if<std::string>(&value))
        return *one;
    const auto* several = std::get_if<std::vector<std::string>>(&value);
    if (several == nullptr)
        return json(value);
    std::string line;
    for (const std::string& word : *several)
        line += (line.empty() ? "" : " ") + word;
    return line;
}

std::string inForm(Form form, const Answer& answer, bool header)
{
    switch (form) {
        case Form::PLAIN:
            return plain(answer);
        case Form::SHELL:
            return shell(answer);
        case Form::JSON:
            return jsonDocument(answer);
        case Form::PEOPLE:
            break;
    }
    return forPeople(answer, header);
}

std::string errorForShell(const std::optional<FailureCode>& code)
{
    return shellLine("TL_ERROR", code ? nameOf(*code) : "");
}

std::string oneField(const Answer& answer, const std::string& name)
{
    const auto isIt = [&](const Cell& cell) { return name == cell.is_->name_; };
    const auto alone = std::find_if(answer.fields_.begin(), answer.fields_.end(), isIt);
    if (alone != answer.fields_.end()) {
        const std::string value = text(alone->value_);
        // For "not found", the catalogue has placeholder texts, which are not a real id or name.
        const bool none = value.empty() || (answer.errorCode_ && (name == "id" || name == "name"));
        return none ? "" : value + "\n";
    }
    std::string out;
    for (const List& list : answer.lists_)
        for (const Row& row : list.rows_)
            for (const Cell& cell : row)
                out += isIt(cell) ? text(cell.value_) + "\n" : "";
    return out;
}

std::string inColumn(const Row& row)
{
    std::size_t widest = 0;
    for (const Cell& cell : row)
        widest = std::max(widest, width(cell.is_->title_));

    std::string out;
    for (const Cell& cell : row)
        out += withoutTrailingBlanks(padded(capitalised(cell.is_->title_) + ":", widest + 2) +
                                     escaped(text(cell.value_))) +
               "\n";
    return out;
}

std::string aligned(const std::vector<Row>& rows, bool header)
{
    if (rows.empty())
        return "";

    std::vector<std::vector<std::string>> lines;
    if (header)
        lines.push_back(headings(rows.front()));
    for (const Row& row : rows)
        lines.push_back(shownCells(row));

    std::vector<std::size_t> widths(rows.front().size(), 0);
    for (const auto& line : lines)
        for (std::size_t i = 0; i < line.size(); ++i)
            widths[i] = std::max(widths[i], width(line[i]));

    // Two blanks between columns, or one if only that fits a serial console.
    const std::size_t total = std::accumulate(widths.begin(), widths.end(), widths.size() - 1);
    const std::size_t gap = total + widths.size() - 1 > CONSOLE && total <= CONSOLE ? 1 : 2;

    std::string out;
    for (const auto& line : lines) {
        std::string shown;
        for (std::size_t i = 0; i < line.size(); ++i)
            shown += padded(line[i], widths[i] + gap);
        out += withoutTrailingBlanks(shown) + "\n";
    }
    return out;
}

}  // namespace tool
