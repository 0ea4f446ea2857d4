#include "render/GlProgram.h"

namespace lookpane {

namespace {

GLuint compileShader(QOpenGLExtraFunctions &gl, GLenum type, const QByteArray &source,
                     QString &error)
{
    const GLuint shader = gl.glCreateShader(type);
    const char *text = source.constData();
    const GLint length = static_cast<GLint>(source.size());
    gl.glShaderSource(shader, 1, &text, &length);
    gl.glCompileShader(shader);
    GLint ok = GL_FALSE;
    gl.glGetShaderiv(shader, GL_COMPILE_STATUS, &ok);
    if (ok != GL_TRUE) {
        char log[1024] = {};
        gl.glGetShaderInfoLog(shader, sizeof log, nullptr, log);
        error = QStringLiteral("shader compilation failed: %1").arg(QString::fromUtf8(log));
        gl.glDeleteShader(shader);
        return 0;
    }
    return shader;
}

} // namespace

GLuint linkProgram(QOpenGLExtraFunctions &gl, const QByteArray &vertex, const QByteArray &fragment,
                   QString &error)
{
    const GLuint vs = compileShader(gl, GL_VERTEX_SHADER, vertex, error);
    if (vs == 0) {
        return 0;
    }
    const GLuint fs = compileShader(gl, GL_FRAGMENT_SHADER, fragment, error);
    if (fs == 0) {
        gl.glDeleteShader(vs);
        return 0;
    }
    const GLuint program = gl.glCreateProgram();
    gl.glAttachShader(program, vs);
    gl.glAttachShader(program, fs);
    gl.glLinkProgram(program);
    gl.glDeleteShader(vs);
    gl.glDeleteShader(fs);
    GLint ok = GL_FALSE;
    gl.glGetProgramiv(program, GL_LINK_STATUS, &ok);
    if (ok != GL_TRUE) {
        char log[1024] = {};
        gl.glGetProgramInfoLog(program, sizeof log, nullptr, log);
        error = QStringLiteral("program link failed: %1").arg(QString::fromUtf8(log));
        gl.glDeleteProgram(program);
        return 0;
    }
    return program;
}

} // namespace lookpane
