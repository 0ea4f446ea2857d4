#include "render/CaptureShaders.h"

namespace lookpane {

QByteArray shaderHeader(bool gles, bool fragment)
{
    if (!gles) {
        return QByteArrayLiteral("#version 330 core\n");
    }
    return fragment ? QByteArrayLiteral("#version 300 es\nprecision highp float;\n")
                    : QByteArrayLiteral("#version 300 es\n");
}

namespace {

// No vertex buffer: the vertex index alone picks a corner of the two triangles that cover the
// view (drawn as plain triangles, not a strip: software rasterisers recognise such a pair as a
// rectangle and fill it on a much faster path). Texture v grows downwards while clip y grows
// upwards, so the picture stands upright.
constexpr char captureVertexBody[] = R"(
struct VertexOut {
    vec4 position;
    vec2 texCoord;
};

const vec2 lookpanePositions[6] = vec2[6](vec2(-1.0, -1.0), vec2(1.0, -1.0), vec2(-1.0, 1.0),
                                          vec2(-1.0, 1.0), vec2(1.0, -1.0), vec2(1.0, 1.0));
const vec2 lookpaneTexCoords[6] = vec2[6](vec2(0.0, 1.0), vec2(1.0, 1.0), vec2(0.0, 0.0),
                                          vec2(0.0, 0.0), vec2(1.0, 1.0), vec2(1.0, 0.0));

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

// `plainSource` is the picture; `blurLower` and `blurUpper` are the two levels of its mip chain
// around the blur level (the same level when it is whole), blended by the level's fraction as
// trilinear filtering would. All filter linearly and clamp to the edge.
constexpr char captureFragmentBody[] = R"(
layout(std140) uniform Effects {
    vec4 params;
};

uniform sampler2D plainSource;
uniform sampler2D blurLower;
uniform sampler2D blurUpper;

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
    // Captured pictures are opaque, but an X image of depth 24 leaves its fourth byte
    // undefined: alpha is written as one, except into a target that keeps no alpha, where the
    // plain copy is what a software rasteriser fills fastest.
    if (state < 0.5) {
#ifdef LOOKPANE_OPAQUE_TARGET
        return texture(plainSource, coord);
#else
        return vec4(texture(plainSource, coord).rgb, 1.0);
#endif
    }
    if (state > 1.5) {
        // The chain could not be built: show none of the picture rather than a clear one.
        return vec4(0.04, 0.04, 0.05, 1.0);
    }
    float between = fract(params.y);
    float tapStep = params.z;
    mediump vec4 sum = vec4(0.0);
    // The same for every pixel, so only one side runs: a whole level reads one level only.
    if (between > 0.0) {
        for (int row = -1; row <= 1; ++row) {
            for (int column = -1; column <= 1; ++column) {
                vec2 tap = clamp(coord + vec2(float(column), float(row)) * tapStep, 0.0, 1.0);
                sum += mix(texture(blurLower, tap), texture(blurUpper, tap), between);
            }
        }
    } else {
        for (int row = -1; row <= 1; ++row) {
            for (int column = -1; column <= 1; ++column) {
                vec2 tap = clamp(coord + vec2(float(column), float(row)) * tapStep, 0.0, 1.0);
                sum += texture(blurLower, tap);
            }
        }
    }
    return vec4(sum.rgb / 9.0, 1.0);
}

void main()
{
    fragColor = lookpaneFragment(texCoord);
}
)";

// The reduced target was drawn with the picture's top at its last row (GL's bottom-up
// framebuffer), so here v follows clip y.
constexpr char presentVertexBody[] = R"(
const vec2 presentPositions[6] = vec2[6](vec2(-1.0, -1.0), vec2(1.0, -1.0), vec2(-1.0, 1.0),
                                         vec2(-1.0, 1.0), vec2(1.0, -1.0), vec2(1.0, 1.0));
out vec2 texCoord;

void main()
{
    vec2 position = presentPositions[gl_VertexID];
    gl_Position = vec4(position, 0.0, 1.0);
    texCoord = position * 0.5 + 0.5;
}
)";

constexpr char copyFragmentBody[] = R"(
uniform sampler2D source;
in vec2 texCoord;
out vec4 fragColor;

void main()
{
    fragColor = texture(source, texCoord);
}
)";

// Halves a level of the mip chain into the next (the first level is made on the CPU) through
// the general texture path: the shift
// (always zero) keeps the coordinates from being plain interpolated inputs, which software
// rasterisers would otherwise fill on their fast path, rounding down at every level.
constexpr char halveFragmentBody[] = R"(
uniform sampler2D reduced;
uniform vec2 shift;
in vec2 texCoord;
out vec4 fragColor;

void main()
{
    fragColor = texture(reduced, texCoord + shift);
}
)";

// The reduced blur's first pass: at each of its texels (the reduced target's columns, the
// level's rows) the mean of three linear samples of the level along the row.
constexpr char blurRowsFragmentBody[] = R"(
uniform sampler2D level;
uniform float tapStep;
in vec2 texCoord;
out vec4 fragColor;

void main()
{
    mediump vec4 sum = vec4(0.0);
    for (int column = -1; column <= 1; ++column) {
        sum += texture(level, vec2(clamp(texCoord.x + float(column) * tapStep, 0.0, 1.0),
                                   texCoord.y));
    }
    fragColor = vec4(sum.rgb / 3.0, 1.0);
}
)";

// Its second pass: the mean of three linear samples of the rows down the column, for the lower
// level and, where the blur level has a fraction (params.y), the upper one blended in.
constexpr char blurColumnsFragmentBody[] = R"(
uniform sampler2D rowsLower;
uniform sampler2D rowsUpper;
uniform vec2 params;
in vec2 texCoord;
out vec4 fragColor;

void main()
{
    float tapStep = params.x;
    float between = params.y;
    mediump vec4 sum = vec4(0.0);
    if (between > 0.0) {
        for (int row = -1; row <= 1; ++row) {
            vec2 tap = vec2(texCoord.x, clamp(texCoord.y + float(row) * tapStep, 0.0, 1.0));
            sum += mix(texture(rowsLower, tap), texture(rowsUpper, tap), between);
        }
    } else {
        for (int row = -1; row <= 1; ++row) {
            sum += texture(rowsLower,
                           vec2(texCoord.x, clamp(texCoord.y + float(row) * tapStep, 0.0, 1.0)));
        }
    }
    fragColor = vec4(sum.rgb / 3.0, 1.0);
}
)";

} // namespace

QByteArray captureVertexShader(bool gles)
{
    return shaderHeader(gles, false) + captureVertexBody;
}

QByteArray captureFragmentShader(bool gles, int fixedState, bool opaqueTarget)
{
    QByteArray source = shaderHeader(gles, true);
    if (opaqueTarget) {
        source += "#define LOOKPANE_OPAQUE_TARGET 1\n";
    }
    if (fixedState >= 0) {
        source += "#define LOOKPANE_FIXED_STATE " + QByteArray::number(fixedState) + ".0\n";
    }
    return source + captureFragmentBody;
}

QByteArray presentVertexShader(bool gles)
{
    return shaderHeader(gles, false) + presentVertexBody;
}

QByteArray copyFragmentShader(bool gles)
{
    return shaderHeader(gles, true) + copyFragmentBody;
}

QByteArray blurRowsFragmentShader(bool gles)
{
    return shaderHeader(gles, true) + blurRowsFragmentBody;
}

QByteArray blurColumnsFragmentShader(bool gles)
{
    return shaderHeader(gles, true) + blurColumnsFragmentBody;
}

QByteArray halveFragmentShader(bool gles)
{
    return shaderHeader(gles, true) + halveFragmentBody;
}

} // namespace lookpane
