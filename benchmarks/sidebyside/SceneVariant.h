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
        eOwnTokens, ///< the same with a texture manager, by which each change of a collection reaches the program
        eCommands ///< one drawable of all boxes
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

    bool hasOwnObjects() const { return _kind == eOwn || _kind == eOwnTokens; }
    Orvane::Zel::TextureManager *textureManager() { return _kind == eOwnTokens ? &_textureManager : nullptr; }

    const Kind _kind;
    const BoxRuns _runs;
    Orvane::Zel::GLSLMacroProcessor _processor;
    Orvane::Zel::ShaderProgram _program{nullptr};
    Orvane::Zel::SamplerTextureManager _textureManager;
    std::vector<Orvane::Zel::InstanceDataCollection *> _materials; ///< the model's, once a box has them
    Orvane::Zel::InstanceDataCollection *_shared = nullptr;        ///< likewise
    Orvane::Zel::GPUModel _model;
};
