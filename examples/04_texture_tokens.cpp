// Textures as plain data: a token is a member of an instance-data item.
//
// The manager returns a token for a texture, a colour or a file; managedTexture() samples by token in the shader.
// TextureManager::Instance() decides whether it uses bindless textures or binds each texture to a texture unit. Its defines and its
// shader file make the program suit it: ProgramBuilder adds both.

#include "Pictures.h"
#include "Programs.h"
#include "Show.h"

#include <ZelGL/ZelGL.h>
#include <ZelKit/DrawScope.h>

#include <array>
#include <cmath>

using namespace Orvane::Zel;
using Orvane::ZelKit::DrawScope;

namespace {

constexpr int kColumns = 7;
constexpr int kRows = 4;
constexpr int kCards = kColumns * kRows;
constexpr int kMotifs = 6;

class Cards : public Show
{
public:
    Cards()
        : _manager(TextureManager::Instance())
        , _quad(OpenGLDeviceContext::current()->newFullscreenQuad())
    {
        auto *plan = new InstanceDataPlan("Card");
        plan->addMember(InstanceDataPlan::eVec4, "Place");
        plan->addMember(InstanceDataPlan::eTexture, "Picture");
        InstanceDataRegistry::Instance()->registerPlan(plan);
        _program = makeProgram("04_texture_tokens.vert", "04_texture_tokens.frag", _manager);

        std::array<TextureToken, kMotifs> motifs;
        for (int i = 0; i < kMotifs; ++i) {
            motifs[size_t(i)] = _manager->tokenForTexture(QImageToTexture(paintFlower(5 + i), false, {}));
        }
        _data = std::make_unique<InstanceDataCollection>(plan, kCards);
        for (int i = 0; i < kCards; ++i) {
            const TextureToken &motif = motifs[size_t(i + i / kColumns * 2) % kMotifs];
            _data->set(i, "Picture", &motif, sizeof motif);
        }
        _quad->setInstanceCount(kCards);
    }

    ~Cards() override
    {
        _data.reset();
        _manager->clear(); // deletes the textures
    }

    void draw(float aspect, float seconds) override
    {
        for (int i = 0; i < kCards; ++i) {
            const float x = (float(i % kColumns) + 0.5f) / kColumns * 2.0f - 1.0f;
            const float y = (float(i / kColumns) + 0.5f) / kRows * 2.0f - 1.0f;
            const float place[] = {x * aspect, y, 0.19f, 0.25f * std::sin(seconds + 1.7f * float(i))};
            _data->set(i, "Place", place, sizeof place);
        }
        DrawScope scope(_program.get(), {_data.get()}, _manager); // the manager gets the tokens in the bytes
        _program->setUniform("u_Aspect", aspect);
        scope.draw(_quad.data());
    }

private:
    TextureManager *_manager;
    std::unique_ptr<ShaderProgram> _program;
    QSharedPointer<DrawBuffers> _quad;
    std::unique_ptr<InstanceDataCollection> _data;
};

} // namespace

int main(int argc, char **argv)
{
    return present(argc, argv, [] { return std::make_unique<Cards>(); });
}
