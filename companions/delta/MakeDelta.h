// Finds what a source has that a reference has not.
#pragma once

#include "base/ByteStream.h"

namespace companions::delta {

/// Writes the delta that makes source out of reference.
void MakeDelta(const base::ByteSource& reference, const base::ByteSource& source, base::ByteSink& delta);

}  // namespace companions::delta
