#include <kenro/imaging/imagecodecs.h>

#include "devicereader_p.h"

namespace Kenro {

bool loadPNG(QImage &image, QIODevice *device)
{
    if (!openForReading(device))
        return false;
    // Bad data leaves a null image; the answer is still true.
    image.load(device, "PNG");
    return true;
}

bool savePNG(QImage const &image, QIODevice *device)
{
    // Deliberately tests readability, not writability: a device that is open
    // for reading only is not reopened, and the write then fails.
    if (!device || (!device->isReadable() && !device->open(QIODevice::WriteOnly)))
        return false;
    return image.save(device, "PNG", -1);
}

} // namespace Kenro
