// See MakeDelta.h.
#include "companions/delta/MakeDelta.h"

#include <algorithm>

#include "companions/delta/DeltaWriter.h"
#include "companions/delta/IndexedReference.h"
#include "companions/delta/Matcher.h"

namespace companions::delta {

using base::Bytes;
using base::ByteSink;
using base::ByteSource;

namespace {

void AddLiterals(DeltaWriter& writer, BlockCache& source, std::uint64_t begin, std::uint64_t end) {
    while (begin < end) {
        Bytes bytes = source.From(begin);
        bytes = bytes.first(static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), end - begin)));
        writer.Add(bytes);
        begin += bytes.size();
    }
}

}  // namespace

void MakeDelta(const ByteSource& reference, const ByteSource& source, ByteSink& delta) {
    const IndexedReference indexed(reference);
    BlockCache referenceBytes(reference);
    BlockCache sourceBytes(source);
    DeltaWriter writer(delta, {referenceBytes.Size(), indexed.digest, sourceBytes.Size()});
    Matcher matcher(referenceBytes, sourceBytes, indexed.index);
    std::uint64_t done = 0;
    while (const auto match = matcher.Next(done)) {
        AddLiterals(writer, sourceBytes, done, match->source);
        writer.Copy(match->reference, match->length);
        done = match->End();
    }
    AddLiterals(writer, sourceBytes, done, sourceBytes.Size());
    writer.Finish(DigestOf(source, sourceBytes.Size()));
}

}  // namespace companions::delta
