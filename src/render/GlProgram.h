#pragma once

#include <QByteArray>
#include <QOpenGLExtraFunctions>
#include <QString>

namespace lookpane {

// Compiles and links a program from the texts of its two shaders, in the current context.
// 0 (with the compiler's or linker's words in `error`) when that fails.
GLuint linkProgram(QOpenGLExtraFunctions &gl, const QByteArray &vertex, const QByteArray &fragment,
                   QString &error);

} // namespace lookpane
