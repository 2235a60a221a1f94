// See Fields.h.
#include "companions/support/Fields.h"

namespace companions {

std::vector<std::uint8_t> ReadRecord(const base::ByteSource& source, std::uint64_t offset, std::size_t size) {
    std::vector<std::uint8_t> record(size);
    if (source.ReadAt(offset, record) != size) throw FormatError("it is cut off");
    return record;
}

}  // namespace companions
