#include "DrawCheck.h"
#include "Driver.h"
#include "Objects.h"
#include "Reports.h"

namespace Orvane { namespace ZelCheck {

namespace {

struct ArraysCommand
{
    GLuint count;
    GLuint instances;
    GLuint first;
    GLuint baseInstance;
};

struct ElementsCommand
{
    GLuint count;
    GLuint instances;
    GLuint firstIndex;
    GLint baseVertex;
    GLuint baseInstance;
};

DrawCall callOf(const DrawCommands &commands, GLintptr offset)
{
    if (commands.indexType == 0) {
        ArraysCommand command = {};
        driver.glGetBufferSubData(GL_DRAW_INDIRECT_BUFFER, offset, sizeof command, &command);
        return {commands.mode,
                GLsizei(command.count),
                0,
                nullptr,
                GLint(command.first),
                GLsizei(command.instances),
                command.baseInstance};
    }
    ElementsCommand command = {};
    driver.glGetBufferSubData(GL_DRAW_INDIRECT_BUFFER, offset, sizeof command, &command);
    const quintptr indices = quintptr(command.firstIndex) * quintptr(indexSize(commands.indexType));
    return {commands.mode,       GLsizei(command.count),
            commands.indexType,  reinterpret_cast<const void *>(indices),
            command.baseVertex,  GLsizei(command.instances),
            command.baseInstance};
}

} // namespace

std::vector<DrawCall> checkCommands(const DrawCommands &commands, bool isRead)
{
    std::vector<DrawCall> calls(1);
    calls[0].mode = commands.mode;
    calls[0].indexType = commands.indexType;
    const GLuint program = currentProgram();
    const GLuint buffer = GLuint(integer(GL_DRAW_INDIRECT_BUFFER_BINDING));
    if (buffer == 0) {
        report(Mistake::eNoCommandBuffer, program, 0, [&] {
            return QStringLiteral("Program %1 draws indirectly, but no buffer is bound to "
                                  "GL_DRAW_INDIRECT_BUFFER. Bind the buffer of the commands.")
                .arg(nameOf(Kind::eProgram, program));
        });
        return calls;
    }
    if (commands.count == 0) {
        return calls;
    }
    GLint64 size = 0;
    driver.glGetBufferParameteri64v(GL_DRAW_INDIRECT_BUFFER, GL_BUFFER_SIZE, &size);
    const GLint64 commandSize = commands.indexType == 0 ? sizeof(ArraysCommand) : sizeof(ElementsCommand);
    const GLint64 stride = commands.stride != 0 ? commands.stride : commandSize;
    const GLint64 start = GLint64(quintptr(commands.offset));
    const GLint64 needed = start + (commands.count - 1) * stride + commandSize;
    if (size < needed) {
        report(Mistake::eCommandBufferTooSmall, program, buffer, [&] {
            return QStringLiteral("Program %1 draws %2 commands that end at byte %3, but buffer %4 has %5 "
                                  "bytes. Check count, stride and offset of the draw.")
                .arg(nameOf(Kind::eProgram, program))
                .arg(commands.count)
                .arg(needed)
                .arg(nameOf(Kind::eBuffer, buffer))
                .arg(size);
        });
        return calls;
    }
    if (isRead) {
        calls.clear();
        for (GLsizei i = 0; i < commands.count; ++i) {
            calls.push_back(callOf(commands, GLintptr(start + i * stride)));
        }
    }
    return calls;
}

}} // namespace Orvane::ZelCheck
