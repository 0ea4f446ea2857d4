#include "frame/CaptureShaders.h"

namespace lookpane {

namespace {

QByteArray header(bool gles, bool fragment)
{
    if (!gles) {
        return QByteArrayLiteral("#version 330 core\n");
    }
    return fragment ? QByteArrayLiteral("#version 300 es\nprecision highp float;\n")
                    : QByteArrayLiteral("#version 300 es\n");
}

// No vertex buffer: the vertex index alone picks a corner of the full-view strip. Texture v
// grows downwards while clip y grows upwards, so the picture stands upright.
constexpr char captureVertexBody[] = R"(
struct VertexOut {
    vec4 position;
    vec2 texCoord;
};

const vec2 lookpanePositions[4] = vec2[4](vec2(-1.0, -1.0), vec2(1.0, -1.0),
                                          vec2(-1.0, 1.0), vec2(1.0, 1.0));
const vec2 lookpaneTexCoords[4] = vec2[4](vec2(0.0, 1.0), vec2(1.0, 1.0),
                                          vec2(0.0, 0.0), vec2(1.0, 0.0));

out vec2 texCoord;

VertexOut lookpaneVertex(int vertexIndex)
{
    VertexOut result;
    result.position = vec4(lookpanePositions[vertexIndex], 0.0, 1.0);
    result.texCoord = lookpaneTexCoords[vertexIndex];
    return result;
}

void main()
{
    VertexOut vertexOut = lookpaneVertex(gl_VertexID);
    gl_Position = vertexOut.position;
    texCoord = vertexOut.texCoord;
}
)";

// Two samplers over the same picture: `plainSource` filters linearly inside level 0,
// `blurSource` also between mip levels (trilinear). Both clamp to the edge.
constexpr char captureFragmentBody[] = R"(
layout(std140) uniform Effects {
    vec4 params;
};

uniform sampler2D plainSource;
uniform sampler2D blurSource;

in vec2 texCoord;
out vec4 fragColor;

vec4 lookpaneFragment(vec2 coord)
{
#ifdef LOOKPANE_FIXED_STATE
    // This build of the program serves one state only (the same value as params.x), so the
    // compiler drops the branches it never takes; software rasterisers otherwise pay for the
    // nine taps on every pixel even with blur off.
    float state = LOOKPANE_FIXED_STATE;
#else
    float state = params.x;
#endif
    if (state < 0.5) {
        return texture(plainSource, coord);
    }
    if (state > 1.5) {
        // The chain could not be built: show none of the picture rather than a clear one.
        return vec4(0.04, 0.04, 0.05, 1.0);
    }
    float lod = params.y;
    float tapStep = params.z;
    mediump vec4 sum = vec4(0.0);
    for (int row = -1; row <= 1; ++row) {
        for (int column = -1; column <= 1; ++column) {
            vec2 tap = clamp(coord + vec2(float(column), float(row)) * tapStep, 0.0, 1.0);
            sum += textureLod(blurSource, tap, lod);
        }
    }
    return sum / 9.0;
}

void main()
{
    fragColor = lookpaneFragment(texCoord);
}
)";

// The reduced target was drawn with the picture's top at its last row (GL's bottom-up
// framebuffer), so here v follows clip y.
constexpr char presentVertexBody[] = R"(
const vec2 presentPositions[4] = vec2[4](vec2(-1.0, -1.0), vec2(1.0, -1.0),
                                         vec2(-1.0, 1.0), vec2(1.0, 1.0));
out vec2 texCoord;

void main()
{
    vec2 position = presentPositions[gl_VertexID];
    gl_Position = vec4(position, 0.0, 1.0);
    texCoord = position * 0.5 + 0.5;
}
)";

constexpr char presentFragmentBody[] = R"(
uniform sampler2D reduced;
in vec2 texCoord;
out vec4 fragColor;

void main()
{
    fragColor = vec4(texture(reduced, texCoord).rgb, 1.0);
}
)";

} // namespace

QByteArray captureVertexShader(bool gles)
{
    return header(gles, false) + captureVertexBody;
}

QByteArray captureFragmentShader(bool gles, int fixedState)
{
    QByteArray source = header(gles, true);
    if (fixedState >= 0) {
        source += "#define LOOKPANE_FIXED_STATE " + QByteArray::number(fixedState) + ".0\n";
    }
    return source + captureFragmentBody;
}

QByteArray presentVertexShader(bool gles)
{
    return header(gles, false) + presentVertexBody;
}

QByteArray presentFragmentShader(bool gles)
{
    return header(gles, true) + presentFragmentBody;
}

} // namespace lookpane
