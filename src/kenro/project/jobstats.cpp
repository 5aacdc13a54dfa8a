#include <kenro/project/jobstats.h>

namespace Kenro {

JobStats::~JobStats() = default;
ProgressProvider::~ProgressProvider() = default;

} // namespace Kenro
