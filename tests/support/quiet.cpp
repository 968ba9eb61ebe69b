#include "recording_sink.h"

namespace {

// In every test program, so that no record of a test that doesn't look at them gets onto standard output.
const foundation::tests::NullSink nullSink;

}  // namespace
