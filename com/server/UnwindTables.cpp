// The unwind tables of a 32-bit DLL, made known to the unwinder that is linked into it.
#include <windows.h>

#include <array>
#include <cstddef>

#include "base/Module.h"

// Of the compiler's unwinder, which no header declares.
extern "C" {
void __register_frame_info(const void* tables, void* record);
void* __deregister_frame_info(const void* tables);

struct dwarf_eh_bases {
    void* text;
    void* data;
    void* function;
};
const void* _Unwind_Find_FDE(const void* address, dwarf_eh_bases* bases);
}

// A place in the module's unwind tables: what this file adds to them follows it.
asm(".section .eh_frame,\"dr\"\n"
    "zn_in_unwind_tables:\n"
    ".text\n");
extern const std::byte g_inTables asm("zn_in_unwind_tables");

namespace {

/// The first byte of the module's section that holds a place.
const std::byte* StartOfSection(const std::byte* place) noexcept {
    const auto* const image = reinterpret_cast<const std::byte*>(base::ModuleHandle());
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(image);
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(image + dos->e_lfanew);
    const std::byte* start = nullptr;
    const IMAGE_SECTION_HEADER* section = IMAGE_FIRST_SECTION(headers);
    for (int left = headers->FileHeader.NumberOfSections; left > 0; --left, ++section)
        if (image + section->VirtualAddress <= place) start = image + section->VirtualAddress;
    return start;
}

/// The compiler's start-up code registers the tables with the shared unwinder, libgcc_s_dw2-1.dll, where the
/// process has loaded that one already. The DLL's own knows nothing of them then, and the first exception
/// would end the process.
class UnwindTables {
public:
    UnwindTables() noexcept {
        dwarf_eh_bases bases;
        if (_Unwind_Find_FDE(reinterpret_cast<const void*>(&StartOfSection), &bases)) return;
        m_start = StartOfSection(&g_inTables);
        __register_frame_info(m_start, m_record.data());
    }
    UnwindTables(const UnwindTables&) = delete;
    UnwindTables& operator=(const UnwindTables&) = delete;
    ~UnwindTables() {
        if (m_start) __deregister_frame_info(m_start);
    }

private:
    const std::byte* m_start = nullptr;
    // The unwinder's own, with room for more than the six words that it needs.
    std::array<void*, 16> m_record{};
};

/// Before all other objects, any of which may throw.
[[gnu::init_priority(101)]] UnwindTables g_unwindTables;

}  // namespace
