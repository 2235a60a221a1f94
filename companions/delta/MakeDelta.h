#pragma once

#include "companions/delta/Bytes.h"

namespace companions::delta {

/// Writes the delta that makes source out of reference.
void MakeDelta(const ByteSource& reference, const ByteSource& source, ByteSink& delta);

}  // namespace companions::delta
