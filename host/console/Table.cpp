// See Table.h.
#include "host/console/Table.h"

#include <algorithm>

#include "base/Console.h"

Table::Table(std::vector<Column> columns) : m_columns(std::move(columns)) {
    for (const Column& column : m_columns)
        m_widths.push_back(column.title.size());
}

void Table::Add(Row cells) {
    for (size_t i = 0; i < cells.size(); ++i)
        m_widths[i] = std::max(m_widths[i], cells[i].size());
    m_rows.push_back(std::move(cells));
}

void Table::Print() const {
    Row titles;
    Row rules;
    for (size_t i = 0; i < m_columns.size(); ++i) {
        titles.push_back(m_columns[i].title);
        rules.emplace_back(m_widths[i], L'-');
    }
    Console::Line(Line(titles));
    Console::Line(Line(rules));
    for (const Row& row : m_rows)
        Console::Line(Line(row));
}

std::wstring Table::Line(const Row& cells) const {
    std::wstring line;
    for (size_t i = 0; i < cells.size(); ++i) {
        const std::wstring padding(m_widths[i] - cells[i].size(), L' ');
        line += m_columns[i].align == Align::Left ? cells[i] + padding : padding + cells[i];
        line += L"  ";
    }
    line.erase(line.find_last_not_of(L' ') + 1);
    return line;
}

std::wstring Grouped(std::uint64_t number) {
    std::wstring text = std::to_wstring(number);
    constexpr size_t kGroup = 3;
    for (size_t position = text.size(); position > kGroup;) {
        position -= kGroup;
        text.insert(position, 1, L',');
    }
    return text;
}

std::wstring Counted(std::uint64_t count, const std::wstring& noun) {
    return Grouped(count) + L" " + noun + (count == 1 ? L"" : L"s");
}
