// The cost of ZelGL::Check in a frame, on a driver: each row without and with the check.
//
// Held constant: a draw of one indexed triangle outside of the picture, with three attributes, a sampler, a uniform block and a
// float uniform. The bare row and the checked one make the same calls through the same table.

#include "sidebyside/OffscreenStage.h"

#include <ZelCheck/Check.h>
#include <ZelGL/ZelGL.h>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>

using namespace Orvane::Zel;
using Orvane::ZelCheck::Scope;

namespace {

constexpr char kVertexStage[] = R"(#version 150
in vec3 a_Position;
in vec3 a_Normal;
in vec2 a_TexCoord;
uniform Placement { vec4 u_Offset; };
out vec2 v_TexCoord;
void main() { v_TexCoord = a_TexCoord; gl_Position = vec4(a_Position + a_Normal + 5.0, 1.0) + u_Offset; }
)";
constexpr char kFragmentStage[] = R"(#version 150
uniform sampler2D u_Map;
uniform float u_Strength;
in vec2 v_TexCoord;
out vec4 color;
void main() { color = texture(u_Map, v_TexCoord) * u_Strength; }
)";

struct Scene
{
    std::unique_ptr<OffscreenStage> stage = OffscreenStage::create(16, 16);
    ShaderProgram program{nullptr};
    GLint strength = -1;
    GLuint textures[2] = {};

    Scene()
    {
        if (stage == nullptr) {
            std::exit(EXIT_FAILURE);
        }
        program.addShader(GL_VERTEX_SHADER, kVertexStage, QString());
        program.addShader(GL_FRAGMENT_SHADER, kFragmentStage, QString());
        program.link();
        program.bind();
        strength = program.getUniformLocation("u_Strength");
        GLuint names[3] = {};
        glGenVertexArrays(1, names);
        glBindVertexArray(names[0]);
        glGenBuffers(3, names);
        glBindBuffer(GL_ARRAY_BUFFER, names[0]);
        glBufferData(GL_ARRAY_BUFFER, 1024, nullptr, GL_STATIC_DRAW);
        for (const char *name : {"a_Position", "a_Normal", "a_TexCoord"}) {
            const GLuint location = GLuint(glGetAttribLocation(program.shaderProgramID(), name));
            glEnableVertexAttribArray(location);
            glVertexAttribPointer(location, 3, GL_FLOAT, GL_FALSE, 0, nullptr);
        }
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, names[1]);
        glBufferData(GL_ELEMENT_ARRAY_BUFFER, 6, nullptr, GL_STATIC_DRAW);
        glBindBufferBase(GL_UNIFORM_BUFFER, 0, names[2]);
        glBufferData(GL_UNIFORM_BUFFER, 1024, nullptr, GL_STATIC_DRAW);
        glGenTextures(2, textures);
        for (const GLuint texture : textures) {
            glBindTexture(GL_TEXTURE_2D, texture);
            glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 8, 8, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
            glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
        }
    }
};

const Scene &scene()
{
    static const Scene one;
    return one;
}

template <bool Checked> void draw(benchmark::State &state)
{
    scene();
    const std::unique_ptr<Scope> check = Checked ? std::make_unique<Scope>() : nullptr;
    for (auto _ : state) {
        glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_SHORT, nullptr);
    }
}
BENCHMARK_TEMPLATE(draw, false)->Name("draw/bare");
BENCHMARK_TEMPLATE(draw, true)->Name("draw/checked");

/// A uniform changes in each draw, as in most frames: drivers validate more then.
template <bool Checked> void uniformAndDraw(benchmark::State &state)
{
    const GLint strength = scene().strength;
    const std::unique_ptr<Scope> check = Checked ? std::make_unique<Scope>() : nullptr;
    float value = 0.0f;
    for (auto _ : state) {
        glUniform1f(strength, value += 1.0f);
        glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_SHORT, nullptr);
    }
}
BENCHMARK_TEMPLATE(uniformAndDraw, false)->Name("uniformAndDraw/bare");
BENCHMARK_TEMPLATE(uniformAndDraw, true)->Name("uniformAndDraw/checked");

/// A texture changes in each draw, after which the check reads all state again.
template <bool Checked> void textureAndDraw(benchmark::State &state)
{
    const Scene &all = scene();
    const std::unique_ptr<Scope> check = Checked ? std::make_unique<Scope>() : nullptr;
    size_t number = 0;
    for (auto _ : state) {
        glBindTexture(GL_TEXTURE_2D, all.textures[number ^= 1]);
        glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_SHORT, nullptr);
    }
}
BENCHMARK_TEMPLATE(textureAndDraw, false)->Name("textureAndDraw/bare");
BENCHMARK_TEMPLATE(textureAndDraw, true)->Name("textureAndDraw/checked");

} // namespace
