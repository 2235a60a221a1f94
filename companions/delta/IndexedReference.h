// What making a difference needs to know of the reference, gathered by reading it once.
#pragma once

#include "companions/delta/BlockIndex.h"
#include "companions/delta/Digest.h"

namespace companions::delta {

struct IndexedReference {
    explicit IndexedReference(const base::ByteSource& reference);

    BlockIndex index;
    Digest digest;
};

}  // namespace companions::delta
