#pragma once

#include <QByteArray>

namespace lookpane {

// The GPU programs of the capture renderer, held as text and compiled when a view is made.
// The header line differs between desktop OpenGL 3.3 core and OpenGL ES 3.0; the bodies are
// the same.

// The first lines of every program's shaders: the version (and, for ES fragment shaders, the
// precision) line.
QByteArray shaderHeader(bool gles, bool fragment);

// The picture program: entry points lookpaneVertex and lookpaneFragment, the effects block
// `Effects { vec4 params; }` (x: blur state 0 / 1 / 2, y: mip level, z: tap spacing, w: 0).
QByteArray captureVertexShader(bool gles);
// With `fixedState` 0, 1 or 2 the program is built for that blur state alone (it must then
// only draw with that value in params.x); -1 reads the state from params.x. With
// `opaqueTarget` the unblurred picture is copied with whatever alpha it has, for a target
// that keeps none.
QByteArray captureFragmentShader(bool gles, int fixedState = -1, bool opaqueTarget = false);

// Stretches a reduced-size blur target over the whole view with linear filtering; its
// fragment shader is copyFragmentShader.
QByteArray presentVertexShader(bool gles);
// Writes the texture on unit 0, sampler `source`, as read at texCoord: the present pass and
// the overlay layer draw their textures with it.
QByteArray copyFragmentShader(bool gles);
// The same stretch, kept off software rasterisers' fast path (see the source), halving each
// level of the mip chain into the next. Uses the present vertex shader.
QByteArray halveFragmentShader(bool gles);

// The reduced-size blur as two separable passes (three taps along the level's rows, then three
// down the columns), equal to the picture program's nine taps. The rows pass uses the present
// vertex shader, the columns pass the picture's.
QByteArray blurRowsFragmentShader(bool gles);
QByteArray blurColumnsFragmentShader(bool gles);

} // namespace lookpane
