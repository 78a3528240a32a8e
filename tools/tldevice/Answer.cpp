#include "Answer.h"

#include <algorithm>
#include <numeric>

#include "Failure.h"
#include "bytes.h"
#include "json.h"

namespace tool {

namespace {

constexpr int SCHEMA = 1;
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

// An answer of one list alone is its rows.  Where there are fields too, every line says what it is.
std::string plain(const Answer& answer)
{
    std::string out;
    for (const Cell& cell : answer.fields_)
        out += std::string(cell.is_->name_) + "\t" + escaped(text(cell.value_)) + "\n";
    for (const List& list : answer.lists_)
        for (const Row& row : list.rows_)
            out += (answer.fields_.empty() ? "" : std::string(list.name_) + "\t") + plainRow(row);
    return out;
}

std::string shellLine(const std::string& key, const Value& value)
{
    const std::string bytes = text(value);
    if (bytes.find('\0') != std::string::npos)
        throw Failure{EXIT_TROUBLE, "not_for_shells",
                      "the value of " + key +
                          " holds a NUL byte, which no shell variable can hold; "
                          "--json shows it"};
    return key + "=" + shellQuoted(bytes) + "\n";
}

std::string shell(const Answer& answer)
{
    std::string out;
    for (const Cell& cell : answer.fields_)
        out += shellLine("TL_" + upperCase(cell.is_->name_), cell.value_);
    for (const List& list : answer.lists_) {
        const std::string prefix = "TL_" + upperCase(list.name_);
        out += shellLine(prefix, static_cast<long>(list.rows_.size()));
        for (std::size_t i = 0; i < list.rows_.size(); ++i)
            for (const Cell& cell : list.rows_[i])
                out += shellLine(
                    prefix + "_" + std::to_string(i + 1) + "_" + upperCase(cell.is_->name_),
                    cell.value_);
    }
    return out;
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

// Columns on a screen: bytes that continue a UTF-8 character take none.
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

std::string text(const Value& value)
{
    if (const bool* flag = std::get_if<bool>(&value))
        return *flag ? "true" : "false";
    if (const long* number = std::get_if<long>(&value))
        return std::to_string(*number);
    if (const auto* number = std::get_if<unsigned long long>(&value))
        return std::to_string(*number);
    if (const double* number = std::get_if<double>(&value))
        return std::to_string(*number);
    if (const auto* words = std::get_if<std::vector<std::string>>(&value)) {
        std::string line;
        for (const std::string& word : *words)
            line += (line.empty() ? "" : " ") + word;
        return line;
    }
    return std::get<std::string>(value);
}

Json document()
{
    Json json;
    json["schema"] = SCHEMA;
    return json;
}

Json json(const Value& value)
{
    if (const bool* flag = std::get_if<bool>(&value))
        return *flag;
    if (const long* number = std::get_if<long>(&value))
        return *number;
    if (const auto* number = std::get_if<unsigned long long>(&value))
        return *number;
    if (const double* number = std::get_if<double>(&value))
        return *number;
    if (const auto* words = std::get_if<std::vector<std::string>>(&value)) {
        Json array = Json::array();
        for (const std::string& word : *words)
            array.push_back(jsonText(word));
        return array;
    }
    return jsonText(std::get<std::string>(value));
}

Json json(const Row& row)
{
    Json object = Json::object();
    for (const Cell& cell : row)
        object[cell.is_->name_] = json(cell.value_);
    return object;
}

Json json(const std::vector<Row>& rows)
{
    Json array = Json::array();
    for (const Row& row : rows)
        array.push_back(json(row));
    return array;
}

Json json(const Answer& answer)
{
    Json object = json(answer.fields_);
    for (const List& list : answer.lists_) {
        object[list.name_] = json(list.rows_);
    }
    if (!answer.errorCode_.empty())
        object["error"] = {{"code", answer.errorCode_}, {"message", jsonText(answer.error_)}};
    return object;
}

std::string printed(const Json& json)
{
    return json.dump(2) + "\n";
}

std::string inForm(Form form, const Answer& answer, bool header)
{
    switch (form) {
        case Form::PLAIN:
            return plain(answer);
        case Form::SHELL:
            return shell(answer);
        case Form::JSON: {
            Json whole = document();
            whole.update(json(answer));
            return printed(whole);
        }
        case Form::PEOPLE:
            break;
    }
    return forPeople(answer, header);
}

std::string oneField(const Answer& answer, const std::string& name)
{
    std::string out;
    const auto addFrom = [&](const Row& row) {
        for (const Cell& cell : row)
            if (name == cell.is_->name_)
                out += text(cell.value_) + "\n";
    };
    addFrom(answer.fields_);
    if (answer.fields_.empty())
        for (const List& list : answer.lists_)
            std::for_each(list.rows_.begin(), list.rows_.end(), addFrom);
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

    // Two blanks between columns, or one where that makes the difference to a serial console.
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

std::string errorInJson(const std::string& code, const std::string& message)
{
    Json whole = document();
    whole["error"] = {{"code", code}, {"message", jsonText(message)}};
    return printed(whole);
}

}  // namespace tool
