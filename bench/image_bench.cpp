#include "bench/judge.h"
#include "bench/plain/image.h"
#include "image/key_colour.h"

namespace {

using judge::InPlace;
using judge::Register;

const int kKeyColour =
    Register("key-colour pass", "ours", InPlace(24, rastelo::ReduceToKeyColour)) +
    Register("key-colour pass", "plain", InPlace(24, plain::ReduceToKeyColour));

}  // namespace
