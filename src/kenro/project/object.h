#pragma once

#include <kenro/kenro_export.h>

namespace Kenro {

/**
 * Root of the reference-and-release scheme. Owners call release(), never
 * delete: the module that made an object also frees it.
 */
class KENRO_EXPORT Object
{
public:
    /// Gives up one reference; the object disposes of itself at the last one.
    virtual void release() = 0;
    virtual ~Object();
};

} // namespace Kenro
