#pragma once

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

/// A table as text in the format of the *.golden files: two blanks between columns, none at the end
/// of a line.
using TableRows = std::vector<std::vector<std::string>>;

inline std::string quoted(const std::string& text)
{
    return '"' + text + '"';
}

inline std::string asText(const TableRows& rows)
{
    std::vector<std::size_t> widths(rows.at(0).size());
    for (const auto& row : rows)
        for (std::size_t i = 0; i < row.size(); ++i)
            widths.at(i) = std::max(widths.at(i), row[i].size());

    std::string text;
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i)
            line += row[i] + std::string(widths[i] - row[i].size() + 2, ' ');
        text += line.substr(0, line.find_last_not_of(' ') + 1) + '\n';
    }
    return text;
}

/// The rows of such a text, the heading first; keeps quotation marks.
inline TableRows tableOf(const std::string& text)
{
    TableRows rows;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        rows.emplace_back();
        std::size_t begin = 0;
        while (begin < line.size()) {
            const std::size_t end = std::min(line.find("  ", begin), line.size());
            rows.back().push_back(line.substr(begin, end - begin));
            begin = std::min(line.find_first_not_of(' ', end), line.size());
        }
    }
    return rows;
}

/// The rows without the heading.
inline TableRows rowsOf(const std::string& text)
{
    TableRows rows = tableOf(text);
    rows.erase(rows.begin());
    return rows;
}

/// Such a text with the columns of asText(): a typed cell may be wider than its column.
inline std::string realigned(const std::string& text)
{
    return asText(tableOf(text));
}

inline std::string unquoted(const std::string& cell)
{
    return cell.substr(1, cell.size() - 2);
}
