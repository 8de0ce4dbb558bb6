#include "GitService.h"

namespace strataloom {
} // namespace strataloom
