// Division of 128-bit integers, which compilers call. This system's are part of each image and are
// not to be found by their names at run time, hence the definitions.
#include "symbol_table.h"

namespace system_library {
namespace {

__extension__ using Integer = __int128;
__extension__ using Unsigned = unsigned __int128;

Integer divide(Integer dividend, Integer divisor) {
    return dividend / divisor;
}

Integer remainder(Integer dividend, Integer divisor) {
    return dividend % divisor;
}

Unsigned divideUnsigned(Unsigned dividend, Unsigned divisor) {
    return dividend / divisor;
}

Unsigned remainderUnsigned(Unsigned dividend, Unsigned divisor) {
    return dividend % divisor;
}

const Registration registration{
    symbol("___divti3", divide),
    symbol("___modti3", remainder),
    symbol("___udivti3", divideUnsigned),
    symbol("___umodti3", remainderUnsigned),
};

}  // namespace
}  // namespace system_library
