#include "glrenderwidget_p.h"

#include <kenro/render/renderer.h>

namespace Kenro {

namespace {

char const vertexSource[] = R"(attribute highp vec2 position;
attribute highp vec4 texCoord;
uniform highp mat4 matrix;
varying mediump vec4 uv;
void main()
{
    uv = texCoord;
    gl_Position = matrix * vec4(position, 0.0, 1.0);
}
)";

// Textures of premultiplied colour: the whole colour takes the opacity.
char const imageSource[] = R"(uniform sampler2D image;
uniform highp float opacity;
uniform lowp float mask;
varying mediump vec4 uv;
void main()
{
    vec4 color = texture2D(image, vec2(uv.s / uv.q, uv.t));
    if (mask < 1.0)
        color.a = 1.0;
    if (color.a == 0.0)
        discard;
#ifdef GRAYSCALE
    color = vec4(color.r, color.r, color.r, color.a);
#endif
#ifdef LIGHTER
    color.rgb += 0.5;
#endif
#ifdef DARKER
    color.rgb -= 0.5;
#endif
    gl_FragColor = color * opacity;
}
)";

// Indexed textures: the red channel is the index into the 256 x 1 palette,
// whose colours are not premultiplied; only alpha takes the opacity.
char const indexedSource[] = R"(uniform sampler2D image;
uniform sampler2D palette;
uniform highp float opacity;
uniform lowp float mask;
varying mediump vec4 uv;
void main()
{
    float index = texture2D(image, vec2(uv.s / uv.q, uv.t)).r;
    vec4 color = texture2D(palette, vec2(index, 0.5));
    if (mask < 1.0)
        color.a = 1.0;
    if (color.a == 0.0)
        discard;
#ifdef GRAYSCALE
    color = vec4(color.r, color.r, color.r, color.a);
#endif
#ifdef LIGHTER
    color.rgb += 0.5;
#endif
#ifdef DARKER
    color.rgb -= 0.5;
#endif
    gl_FragColor = vec4(color.rgb, color.a * opacity);
}
)";

// The line put in front of the fragment source for each effect, in effect order.
char const *const effectDefines[4] = {"", "#define GRAYSCALE\n", "#define LIGHTER\n",
                                      "#define DARKER\n"};

void buildBlock(ShaderBlock &block, char const *fragment)
{
    for (int effect = 0; effect < 4; ++effect) {
        QOGLShaderProgram *&program = block.programs[effect];
        if (!program)
            program = new QOGLShaderProgram;
        program->removeAllShaders();
        program->addShaderFromSourceCode(QOpenGLShader::Vertex, vertexSource);
        program->addShaderFromSourceCode(QOpenGLShader::Fragment,
                                         QByteArray(effectDefines[effect]) + fragment);
        program->link();
    }
    // All four programs have the same layout: the first one tells where things are.
    QOGLShaderProgram *const first = block.programs[0];
    block.matrix = first->uniformLocation("matrix");
    block.opacity = first->uniformLocation("opacity");
    block.mask = first->uniformLocation("mask");
    block.image = first->uniformLocation("image");
    block.palette = first->uniformLocation("palette");
    block.position = first->attributeLocation("position");
    block.texCoord = first->attributeLocation("texCoord");
}

void deleteBlock(ShaderBlock &block)
{
    for (QOGLShaderProgram *&program : block.programs) {
        delete program;
        program = nullptr;
    }
}

} // namespace

void GLRenderWidgetPrivate::createPrograms()
{
    setPixelShaders(nullptr, nullptr);
}

void GLRenderWidgetPrivate::setPixelShaders(char const *indexed, char const *image)
{
    buildBlock(indexedPrograms, indexed ? indexed : indexedSource);
    buildBlock(imagePrograms, image ? image : imageSource);
    currentProgram = nullptr;
}

void GLRenderWidgetPrivate::deletePrograms()
{
    deleteBlock(indexedPrograms);
    deleteBlock(imagePrograms);
    currentProgram = nullptr;
}

void GLRenderWidgetPrivate::setSize(int width, int height)
{
    matrices[0] = Renderer::projection(width, height, false);
    matrices[1] = Renderer::projection(width, height, true);
}

} // namespace Kenro
