// Text in aligned columns.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

class Table {
public:
    enum class Align { Left, Right };
    struct Column {
        std::wstring title;
        Align align = Align::Left;
    };
    using Row = std::vector<std::wstring>;

    explicit Table(std::vector<Column> columns);
    /// cells: one for each column.
    void Add(Row cells);
    bool IsEmpty() const { return m_rows.empty(); }
    void Print() const;

private:
    std::wstring Line(const Row& cells) const;

    std::vector<Column> m_columns;
    std::vector<size_t> m_widths;
    std::vector<Row> m_rows;
};

/// A number with its thousands separated.
std::wstring Grouped(std::uint64_t number);
/// "1 packet", "2 packets".
std::wstring Counted(std::uint64_t count, const std::wstring& noun);
