#pragma once

#include "Boxes.h"
#include "DrawVariant.h"

#include <ZelGL/GLSLMacroProcessor.h>
#include <ZelGL/GPUModel.h>
#include <ZelGL/SamplerTextureManager.h>
#include <ZelGL/ShaderProgram.h>

#include <vector>

/// The boxes as drawables of a GPUModel. Only one may exist at a time, since its plans are in the registry.
class SceneVariant : public DrawVariant
{
public:
    enum Kind {
        eShared,     ///< a drawable of one command for each box; all share one object collection
        eSharedBase, ///< the same with the draw ID in the base instance, by drawSimple()
        eOwn,        ///< an object collection for each drawable
        eOwnTokens, ///< the same with a texture manager, whose table changes with each collection, and a texture per material
        eOwnNoTextures, ///< the same with the null token in each material
        eCommands       ///< one drawable of all boxes
    };

    SceneVariant(Kind kind, const BoxRuns &runs);
    ~SceneVariant() override;

    void drawFrame() override;

private:
    void registerPlans();
    void link();
    void addBoxes();
    void addAllAsOne();
    int newTransform(int box);
    Orvane::Zel::InstanceDataCollection *newObjects(int count);
    void fillShared();

    bool hasOwnObjects() const { return _kind == eOwn || hasTextureManager(); }
    bool hasTextureManager() const { return _kind == eOwnTokens || _kind == eOwnNoTextures; }
    Orvane::Zel::TextureManager *textureManager() { return hasTextureManager() ? &_textureManager : nullptr; }
    Orvane::Zel::TextureToken textureOf(const std::array<float, 4> &color);

    const Kind _kind;
    const BoxRuns _runs;
    Orvane::Zel::GLSLMacroProcessor _processor;
    Orvane::Zel::ShaderProgram _program{nullptr};
    Orvane::Zel::SamplerTextureManager _textureManager;
    std::vector<Orvane::Zel::InstanceDataCollection *>
        _materials;                                         ///< owned by the model, once a box uses them
    Orvane::Zel::InstanceDataCollection *_shared = nullptr; ///< owned by the model, too
    Orvane::Zel::GPUModel _model;
};
