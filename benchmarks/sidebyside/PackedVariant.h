#pragma once

#include "Boxes.h"
#include "DrawVariant.h"

#include <ZelGL/GLSLMacroProcessor.h>
#include <ZelGL/ShaderProgram.h>
#include <ZelKit/PackedScene.h>

#include <vector>

/// The boxes in a packed scene, each with a mesh of its own. Only one may exist at a time, since its plans are in the registry.
class PackedVariant : public DrawVariant
{
public:
    enum Kind {
        eByHand, ///< the GL calls of eAll by hand, with the same object data and program
        eAll,    ///< without culling and without movement: the commands stay
        eCulled, ///< culled by another frustum in each frame, while a twentieth of the boxes moves, other ones in each frame
        eCulledScattered, ///< the same, with every twentieth box, so that no two of them share memory
        eCulledRandom,    ///< the same, with random boxes in random order
        eSubDraws         ///< as eAll, but the program has the draw ID in a uniform
    };

    PackedVariant(Kind kind, const BoxRuns &runs);
    /// Prints the memory of a box.
    ~PackedVariant() override;

    void drawFrame() override;

private:
    void link();
    void addBoxes();
    void prepareByHand();
    void drawByHand();
    void moveBoxes();

    const Kind _kind;
    const BoxRuns _runs;
    Orvane::Zel::GLSLMacroProcessor _processor;
    Orvane::Zel::ShaderProgram _program{nullptr};
    std::vector<std::unique_ptr<Orvane::Zel::InstanceDataCollection>> _materials;
    std::unique_ptr<Orvane::ZelKit::PackedScene> _scene;
    std::vector<int> _drawables;
    std::vector<QMatrix4x4> _places;
    int _frame = 0;

    // By hand.
    std::unique_ptr<Orvane::Zel::DrawBuffers> _unit;
    std::vector<std::unique_ptr<Orvane::Zel::InstanceDataCollection>> _objects;
    QSharedPointer<Orvane::Zel::BufferObject> _commands;
};
