#include <kenro/render/graphicsrendererbase.h>

namespace Kenro {

GraphicsRendererBase::~GraphicsRendererBase() = default;

void GraphicsRendererBase::mousePressed(QPoint, Qt::MouseButton button, Qt::KeyboardModifiers)
{
    if (button == Qt::LeftButton)
        setFocus();
}

} // namespace Kenro
