// FlatBuffers: fields by number, read in place once the bytes are verified. The builder is kept, as
// its manual advises.
#include "benchmarks/support/interleave.h"
#include "benchmarks/util/ipc/record_case.h"
#include "record_generated.h"

namespace {
int Run(int first)
{
    static flatbuffers::FlatBufferBuilder builder;
    builder.Clear();
    builder.Finish(bench::flat::CreateStatus(builder, first, first + 1, first + 2, first + 3,
                                             first + 4, first + 5, first + 6, first + 7, first + 8,
                                             first + 9, first + 10, first + 11));
    const unsigned char* const bytes = builder.GetBufferPointer();
    bench::Keep(bytes);
    flatbuffers::Verifier verifier(bytes, builder.GetSize());
    if (!bench::flat::VerifyStatusBuffer(verifier)) {
        return 0;
    }
    const bench::flat::Status* const got = bench::flat::GetStatus(bytes);
    return got->play_time() + got->end_time() + got->speed() + got->status() + got->media_status() +
           got->width() + got->height() + got->in_seek() + got->total_bytes_high() +
           got->total_bytes_low() + got->current_offset_high() + got->current_offset_low();
}

const RegisteredRecord sRegistered(3, "flatbuffers", Run);
}  // namespace
