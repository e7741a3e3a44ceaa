#pragma once

#include "KitExport.h"

#include <QtCore/QVarLengthArray>
#include <QtCore/QVector>

#include <initializer_list>

namespace Orvane { namespace Zel {
class DrawBuffers;
class InstanceDataCollection;
class ShaderProgram;
class TextureManager;
}} // namespace Orvane::Zel

namespace Orvane { namespace ZelKit {

class EnvironmentLight;
class ShadowLayers;

/// Binds what draws need, in the right order, and unbinds it in reverse order at the end of the scope: the program, the instance
/// data with their textures, the texture manager, lights, and each draw unit with its attributes.
///
/// It makes the same GL calls as the same steps by hand, and does not allocate. Consecutive draw units are rebound with the
/// fewest calls. A scope that cannot bind everything binds nothing, and its draws return false.
///
/// \snippet kit.cpp DrawScope
///
/// - Units: none.
/// - Context: that of the objects. They must exist until the scope ends.
/// - Errors: logged as a warning by each scope, once in a scope; classes of the library log theirs.
class ZELKIT_EXPORT DrawScope
{
    Q_DISABLE_COPY(DrawScope)

public:
    using Collections = std::initializer_list<Zel::InstanceDataCollection *>;

    /// \a manager: needed if a plan has texture tokens, or if the program links the manager's file; else null.
    explicit DrawScope(Zel::ShaderProgram *program, Collections collections = {},
                       Zel::TextureManager *manager = nullptr);
    ~DrawScope();

    /// False if an object is null or cannot be bound.
    bool isBound() const { return _isBound; }

    /// Replaces the instance data for the next draws; program and draw unit stay bound.
    bool setCollections(Collections collections);

    /// Binds the lights until the scope ends; null for none, such as for casters. Call it once. False if they cannot be bound:
    /// shaders then get no light of them.
    bool use(ShadowLayers *lights);
    bool use(EnvironmentLight *light);

    /// Draws the unit, or only the commands with these numbers. For uniforms, see the program, which is bound.
    bool draw(Zel::DrawBuffers *unit, const QVector<int> *commands = nullptr);

private:
    template <typename Lights> bool useLights(Lights *lights, Lights **bound);
    bool bindData(Collections collections);
    void unbindData();
    void unbindAll();

    Zel::ShaderProgram *_program;
    Zel::TextureManager *_manager;
    QVarLengthArray<Zel::InstanceDataCollection *, 8> _collections; ///< bound, in this order
    Zel::DrawBuffers *_unit = nullptr;                              ///< bound
    ShadowLayers *_shadows = nullptr;                               ///< bound
    EnvironmentLight *_environment = nullptr;                       ///< bound
    bool _isBound = false;
};

}} // namespace Orvane::ZelKit
