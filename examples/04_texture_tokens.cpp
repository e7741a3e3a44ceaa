// Textures as plain data: a token is a member of an instance-data item.
//
// The manager returns a token for a texture, a colour or a file; managedTexture() samples by token in the shader.
// TextureManager::Instance() decides whether it uses bindless textures or binds each texture to a texture unit: it adds
// its defines to the text processor, and returns the name of the shader file that a program must link.

#include "Programs.h"
#include "Show.h"

#include <ZelGL/ZelGL.h>
#include <ZelKit/DrawScope.h>

#include <QtGui/QPainter>

#include <cmath>

using namespace Orvane::Zel;
using Orvane::ZelKit::DrawScope;

namespace {

constexpr int kColumns = 7;
constexpr int kRows = 4;
constexpr int kCards = kColumns * kRows;
constexpr int kMotifs = 6;

const char kVertex[] = R"(#version 150
#include "ZelUtilities.glslh"
#instancedata "Card"
in vec3 va_Vertex;
in vec2 va_TexCoord;
uniform float u_Aspect;
flat out uint vo_Card;
out vec2 vo_TexCoord;

void main()
{
    vo_Card = getDrawID();
    vo_TexCoord = va_TexCoord;
    vec4 place = getPlace(); // x, y, half the height, angle
    vec2 corner = mat2(cos(place.w), sin(place.w), -sin(place.w), cos(place.w)) * va_Vertex.xy * place.z;
    gl_Position = vec4((place.xy + corner) / vec2(u_Aspect, 1.0), 0.0, 1.0);
}
)";

const char kFragment[] = R"(#version 150
#include "TextureManager.glslh"
#instancedata "Card"
flat in uint vo_Card;
in vec2 vo_TexCoord;
out vec4 o_Color;

void main()
{
    o_Color = managedTexture(getPicture(vo_Card), vo_TexCoord);
}
)";

void registerPlan()
{
    auto *plan = new InstanceDataPlan("Card");
    plan->addMember(InstanceDataPlan::eVec4, "Place");
    plan->addMember(InstanceDataPlan::eTexture, "Picture");
    InstanceDataRegistry::Instance()->registerPlan(plan);
}

/// A card that shows a flower with this many petals.
QImage paintMotif(int petals)
{
    QImage image(256, 256, QImage::Format_ARGB32);
    image.fill(QColor::fromHsv(petals * 47 % 360, 60, 235));
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(128, 128);
    painter.setPen(Qt::NoPen);
    for (int i = 0; i < petals; ++i) {
        painter.setBrush(QColor::fromHsv((petals * 47 + 150 + 12 * i) % 360, 170, 190));
        painter.drawEllipse(QRectF(-22, -112, 44, 100));
        painter.rotate(360.0 / petals);
    }
    painter.setBrush(QColor(250, 240, 200));
    painter.drawEllipse(QRectF(-26, -26, 52, 52));
    painter.end();
    return image.mirrored(); // GL's first row is the lowest
}

class Cards : public Show
{
public:
    Cards()
        : _manager(TextureManager::Instance())
        , _quad(OpenGLDeviceContext::current()->newFullscreenQuad())
    {
        registerPlan();
        DrawBuffers::setup(&_processor);
        _manager->setup(&_processor);
        ProgramText text;
        text.vertex = kVertex;
        text.fragment = kFragment;
        text.vertexFiles = QStringList{"ZelUtilities.glslc", "ZelUtilities.vert"};
        text.fragmentFiles =
            QStringList{"ZelUtilities.glslc", "ZelUtilities.frag", _manager->getShaderFile()};
        text.vertexPlans = QStringList{"Card"};
        text.fragmentPlans = QStringList{"Card"};
        _program = makeProgram(text, &_processor);

        for (int i = 0; i < kMotifs; ++i) {
            _motifs.push_back(QImageToTexture(paintMotif(5 + i), false, TextureFileInfo()));
            _manager->tokenForTexture(_motifs.back());
        }
        _quad->setInstanceCount(kCards);
    }

    ~Cards() override
    {
        _data.reset();
        _manager->clear(); // deletes the textures
        InstanceDataRegistry::Instance()->clear();
    }

    void draw(float aspect, float seconds) override
    {
        place(aspect, seconds);
        DrawScope scope(_program.get(), {_data.get()},
                        _manager); // passes the tokens in the bytes to the manager
        _program->setUniform("u_Aspect", aspect);
        scope.draw(_quad.data());
    }

private:
    void place(float aspect, float seconds)
    {
        QList<InstanceData> items;
        for (int i = 0; i < kCards; ++i) {
            const float x = (float(i % kColumns) + 0.5f) / kColumns * 2.0f - 1.0f;
            const float y = (float(i / kColumns) + 0.5f) / kRows * 2.0f - 1.0f;
            const float place[] = {x * aspect, y, 0.19f, 0.25f * std::sin(seconds + 1.7f * float(i))};
            InstanceData item("Card");
            item.set("Place", place, sizeof place);
            item.setTexture("Picture", _motifs[size_t((i + i / kColumns * 2) % kMotifs)], _manager);
            items << item;
        }
        if (_data) {
            _data->update(items);
        } else {
            _data = std::make_unique<InstanceDataCollection>("Card", items);
        }
    }

    TextureManager *_manager;
    GLSLMacroProcessor _processor;
    std::unique_ptr<ShaderProgram> _program;
    QSharedPointer<DrawBuffers> _quad;
    std::vector<Texture *> _motifs;
    std::unique_ptr<InstanceDataCollection> _data;
};

} // namespace

int main(int argc, char **argv)
{
    return present(argc, argv, [] { return std::make_unique<Cards>(); });
}
