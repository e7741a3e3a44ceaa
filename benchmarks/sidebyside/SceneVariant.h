#pragma once

#include "Boxes.h"
#include "DrawVariant.h"

#include <ZelGL/GLSLMacroProcessor.h>
#include <ZelGL/GPUModel.h>
#include <ZelGL/SamplerTextureManager.h>
#include <ZelGL/ShaderProgram.h>

#include <vector>

/// The boxes as drawables of a GPUModel. One at a time: its plans stand in the registry.
class SceneVariant : public DrawVariant
{
public:
    enum Kind {
        eShared,     ///< a drawable for each box, with one command; all share one object collection
        eSharedBase, ///< the same with the draw ID in the base instance, by drawSimple()
        eOwn,        ///< an object collection for each drawable
        eOwnTokens, ///< the same with a texture manager and a texture for each material; each change of a collection
                    ///< hands the manager's table to the program
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
    std::vector<Orvane::Zel::InstanceDataCollection *> _materials; ///< the model's, once a box has them
    Orvane::Zel::InstanceDataCollection *_shared = nullptr;        ///< likewise
    Orvane::Zel::GPUModel _model;
};
