#pragma once

#include <kenro/render/qoglfunctions.h>

#include <QColor>
#include <QMatrix4x4>

namespace Kenro {

class GLRenderWidget;
class Renderer;
class Texture;

/// The four programs of one kind of texture, one per effect, and where their inputs are.
struct ShaderBlock
{
    QOGLShaderProgram *programs[4] = {nullptr, nullptr, nullptr, nullptr};
    int matrix = -1;
    int mask = -1;
    int image = -1;
    int palette = -1;
    int opacity = -1;
    int position = -1;
    int texCoord = -1;
};

/**
 * The GL state of a surface that draws by OpenGL, on screen or off it: the
 * shader programs and the caches that keep redundant calls out of a frame.
 */
class GLRenderWidgetPrivate
{
public:
    /// Makes the eight programs in the current context.
    void createPrograms();
    /// Sets the fragment sources of both blocks (null keeps the default) and links again.
    void setPixelShaders(char const *indexedSource, char const *imageSource);
    void deletePrograms();
    /// Both projections for a surface of \a width x \a height pixels.
    void setSize(int width, int height);

    Renderer *renderer = nullptr;
    ShaderBlock indexedPrograms;
    ShaderBlock imagePrograms;
    Texture const *boundPalette = nullptr;
    QOGLFunctions *functions = nullptr;
    QOGLShaderProgram *currentProgram = nullptr;
    /// Orthographic, perspective.
    QMatrix4x4 matrices[2];
    uchar projection = 0;
    bool blendEnabled = false;
    /// 0: unknown.
    int blendEquation = 0;
    /// -1: unknown.
    int blendSource = -1;
    int blendDestination = -1;
    /// The on-screen widget, which tells custom shaders to set their values; null off screen.
    GLRenderWidget *widget = nullptr;
};

} // namespace Kenro
