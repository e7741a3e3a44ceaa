#pragma once

#include "Export.h"

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>
#include <QtGui/QMatrix4x4>
#include <QtGui/QVector3D>

namespace Orvane { namespace Zel {

class DrawBuffers;
class FrustumTest;
class InstanceDataCollection;
class MatrixWriter;
class ShaderProgram;
class TextureManager;
class TransformTree;
class VertexArrayObject;

/// How a draw culls faces.
enum WindingType {
    eWindingDefault = 0, ///< GL's state is left alone
    eWindingOff = 1,
    eWindingCCW = 2, ///< front faces are counter-clockwise; mirrored commands follow in a second pass
    eWindingCW = 3   ///< the same for mirrored commands first
};

/// A scene that draws: drawables with their instance data, a hierarchy of
/// transforms, cameras, lights, bounding boxes, and names of materials and objects.
///
/// A transform feeds no uniform. When it is recomputed it writes its matrices into
/// the object data of the draw commands that use it, through the members
/// "ModelMatrix", "PreviousModelMatrix", "InverseModelMatrix" and, where the plan
/// has it, "ModelNormalMatrix". All are eMat4; of the last the first nine numbers
/// are the 3 x 3 matrix, column after column without gaps. The plan must have the
/// first three: one that is missing is written at offset 0, over the first member.
///
/// Item i of a drawable's collections belongs to its command i, whose draw ID is i:
/// a shader finds both by getDrawID().
///
/// A frame: updateTransforms(), resetCulling(), visibilityCull(), frustumCull(),
/// any number of draws, updatePreviousMatrices().
///
/// Units:   the host's unit of length; camera film and focal length in metres.
/// Context: everything that draws, and clear() and set() where they delete.
/// Errors:  indices are the caller's to check (isValidTransform(),
///          isValidBoundingBox()); one that is out of range is passed over or
///          returns an empty value. Nothing is logged. Host code that runs during
///          a draw (a texture manager, a reader of images, a message handler) may
///          change the model: the change counts from the next draw on, and what
///          clear() and set() delete goes when the draw ends.
/// Source:  OpenGL 3.2 core; the planes of a frustum from the rows of its matrix:
///          G. Gribb, K. Hartmann, "Fast extraction of viewing frustum planes from
///          the world-view-projection matrix", 2001.
/// Ownership: while setDeleteOnClear() is on, which it is at first, clear() deletes
///          what add() was given, in the order of the drawables, and set() what it
///          replaces and no other drawable uses; the destructor deletes nothing.
class ZELGL_EXPORT GPUModel
{
    Q_DISABLE_COPY(GPUModel)

public:
    // The type and the values of the namespace are known by this name too.
    using WindingType = Zel::WindingType;
    static constexpr WindingType eWindingDefault = Zel::eWindingDefault;
    static constexpr WindingType eWindingOff = Zel::eWindingOff;
    static constexpr WindingType eWindingCCW = Zel::eWindingCCW;
    static constexpr WindingType eWindingCW = Zel::eWindingCW;

    static constexpr int kInvalidBoundingBoxRef = -1;
    static constexpr int kInvalidTransformRef = -1;
    static constexpr int kInvalidCameraIndex = -1;

    // Bits of a drawable's flag word; the others are the host's.
    static constexpr unsigned long long kFlagHidden = 1ull << 63;
    static constexpr unsigned long long kFlagSortByDistance = 1ull << 62; ///< in the value passed to a draw
    static constexpr unsigned long long kFlagTwoSided = 1ull << 60;
    static constexpr int kUVSetsShift = 55; ///< three bits, as below
    static constexpr int kTangentSetsShift = 52;

    // Bits of the feature flags.
    static constexpr unsigned long long kFeatureFilterSimple = 1; ///< drawSimple() filters by flags
    static constexpr unsigned long long kFeatureCulling = 2;
    static constexpr unsigned long long kFeatureSimple = 16; ///< draw() goes to drawSimple()

    /// A mesh with its data. The vectors go by draw command.
    struct Drawable
    {
        DrawBuffers *drawBuffers = nullptr;
        InstanceDataCollection *materialData = nullptr;
        InstanceDataCollection *objectData = nullptr;
        unsigned long long flags = 0;
        int instance = 0; ///< the number at creation; sorting keeps it
        QVector<int> transformRefs;
        QVector<int> boundingBoxRefs;
        QVector<bool> culled; ///< of several commands; of one the count alone says it
        int culledCount = 0;
    };

    /// One draw command of a drawable.
    struct InstanceRef
    {
        int instance = 0;
        int drawCommand = 0;
    };

    struct ZELGL_EXPORT BoundingBox
    {
        QVector3D closestPointFrom(const QVector3D &point) const;

        float minX = 0.0f;
        float minY = 0.0f;
        float minZ = 0.0f;
        float maxX = 0.0f;
        float maxY = 0.0f;
        float maxZ = 0.0f;
    };

    struct Camera
    {
        int transform = kInvalidTransformRef;
        float filmWidth = 0.036f;
        float filmHeight = 0.024f;
        float filmOffsetX = 0.0f;
        float filmOffsetY = 0.0f;
        float focalLength = 0.05f;
        float focusDistance = 0.05f;
        bool depthOfField = false; ///< the host's
        float fStop = 0.0f;        ///< the host's
        int projectionType = 0;    ///< 0 perspective, 1 orthographic
        float farClip = 0.0f;      ///< 0: the model's default
        float nearClip = 0.0f;     ///< 0: the model's default
    };

    /// Stored for the host, and read by nobody here.
    struct Light
    {
        int transform = kInvalidTransformRef;
        int type = 0;
        QVector3D color = QVector3D(1.0f, 1.0f, 1.0f);
        float intensity = 1.0f;
        float range = 0.0f;
        float innerConeAngle = 0.0f; ///< degrees
        float outerConeAngle = 0.0f; ///< degrees
    };

    /// True for a matrix that mirrors.
    static bool SwapsHandedness(const QMatrix4x4 &matrix);

    GPUModel();
    ~GPUModel();

    /// Removes drawables, names and transforms. Transform visibility, cameras,
    /// lights and boxes stay, and so does what updatePreviousMatrices() waits for.
    void clear();
    void setDeleteOnClear(bool deleteOnClear);
    void setFeatureFlags(unsigned long long flags);
    unsigned long long getFeatureFlags() const;
    bool hasFeatureFlags(unsigned long long mask) const;
    void setClipPlaneDefaults(float nearClip, float farClip);
    bool containsReflectedTransparency() const;
    void setContainsReflectedTransparency(bool contains);

    // Drawables, by instance number.

    /// The instance number. Drawables of one \a materialNumber are drawn one after the
    /// other, and chosen by it. Either collection may be null. Adding in ascending
    /// order of flags saves sorting. The commands of the unit come first: draw() draws
    /// none that is added to the unit later, until set(), and nothing of a unit
    /// without commands, which is for drawSimple().
    int add(DrawBuffers *drawBuffers, int materialNumber, InstanceDataCollection *material,
            InstanceDataCollection *object, const unsigned long long &flags);
    /// A drawable for drawSimple(): without transforms, boxes and culling; its number is 0.
    int addSimple(DrawBuffers *drawBuffers, int materialNumber, InstanceDataCollection *material,
                  InstanceDataCollection *object, const unsigned long long &flags);
    void set(int instance, DrawBuffers *drawBuffers, InstanceDataCollection *material,
             InstanceDataCollection *object, unsigned long long flags, unsigned long long mask);
    int numDrawables() const;
    bool isDrawablesEmpty() const;
    DrawBuffers *drawBuffers(int instance) const;
    InstanceDataCollection *materialData(int instance) const;
    InstanceDataCollection *objectData(int instance) const;
    unsigned long long getFlags(int instance) const;
    void setFlags(int instance, unsigned long long flags, unsigned long long mask);
    void addFlags(int instance, unsigned long long flags);
    void removeFlags(int instance, unsigned long long flags);
    // Over the half-open range from first to last.
    void setFlags(int first, int last, unsigned long long flags, unsigned long long mask);
    void addFlags(int first, int last, unsigned long long flags);
    void removeFlags(int first, int last, unsigned long long flags);
    /// Sorts the drawables by flags if these changed since clear(). A drawable that
    /// moves loses what is kept by position to the one that takes its place: the
    /// material number, the names, and the matrices of its transforms.
    void sortDrawablesByFlags();
    bool isDrawAny(unsigned long long bits) const;
    bool isDrawEmpty(unsigned long long value, unsigned long long mask) const;
    int maxUVSets() const;
    int maxTangentSets() const;

    // Transforms.

    int addTransform(int parent, const QMatrix4x4 &local);
    /// With \a locked the transform takes its parent's position and scale but not
    /// its rotation. An equal matrix changes nothing, not even \a locked.
    void setLocalTransform(int transform, const QMatrix4x4 &local, bool locked);
    void setWorldTransform(int transform, const QMatrix4x4 &world);
    /// A new parent marks the transform dirty. Ignored where it would make a transform
    /// its own ancestor.
    void setTransformParent(int transform, int parent);
    /// 0 and 1 visible, 2 hidden, 3 hidden with descendants.
    void setVisibility(int transform, int visibility);
    int transformParent(int transform) const;
    QMatrix4x4 localTransform(int transform) const;
    QMatrix4x4 worldTransform(int transform) const;
    QMatrix3x3 normalTransform(int transform) const;
    bool isValidTransform(int transform) const;
    bool isTransformDirty(int transform) const;
    bool isParentHidden(int transform) const;
    bool isVisible(int transform) const;
    bool isDescendant(int ancestor, int transform) const;
    void useTransform(int instance, int drawCommand, int transform);
    void useBoundingBox(int instance, int drawCommand, int box);
    /// Recomputes one transform and its dirty ancestors; the world matrix.
    QMatrix4x4 updateTransform(int transform);
    void updateTransforms();
    /// Once a frame, behind the draws: what moved is taken as the next frame's past.
    void updatePreviousMatrices();
    void setTransformName(int transform, const QString &name);
    int findTransform(const QString &name) const;
    QStringList transformNames() const;

    // Names and properties.

    void addMaterialName(int instance, int drawCommand, const QString &name);
    void addObjectName(int instance, int drawCommand, const QString &name);
    QVector<InstanceRef> materialInstances(const QString &name) const;
    QVector<InstanceRef> objectInstances(const QString &name) const;
    QStringList materialNames() const;
    QStringList objectNames() const;
    // As InstanceDataCollection::set(), for each command of that name.

    void setMaterialProperty(const QString &name, const QString &member, const void *data,
                             unsigned long size);
    void setObjectProperty(const QString &name, const QString &member, const void *data, unsigned long size);

    // Cameras, lights, boxes.

    int addCamera(const Camera &camera, const QString &name);
    void setCamera(int index, const Camera &camera);
    Camera getCamera(int index) const;
    int getCameraCount() const;
    QStringList getCameraNames() const;
    int getCameraIndex(const QString &name) const;
    QMatrix4x4 getCameraWorldSpaceMatrix(int index) const;
    /// Of a 36 x 24 mm film behind a 50 mm lens for a negative index.
    QMatrix4x4 getCameraProjectionMatrix(int index, float aspect) const;
    int addLight(const Light &light, const QString &name);
    void getLight(int index, Light &light) const;
    int lightCount() const;
    void loadBoundingBoxes(const BoundingBox *boxes, int count);
    BoundingBox getBoundingBox(int index) const;
    bool isValidBoundingBox(int index) const;
    /// The boxes of all commands that are not culled, each taken in its own space:
    /// where transforms move them, it is not the box of the scene in the world.
    /// Inverted extremes where there are none. Recomputed only after add(), set(),
    /// clear() or a pass of culling, not after loadBoundingBoxes() or
    /// useBoundingBox() alone.
    const BoundingBox &sceneBounds();

    quint64 memoryEstimateCPU() const;
    quint64 memoryEstimateGPU() const;
    int getTotalVerts() const;

    // Culling only ever adds marks; resetCulling() removes them, but does nothing
    // without kFeatureCulling, while the other passes go on.

    /// Marks what the flags or the transforms hide; how many commands were newly marked.
    int visibilityCull();
    /// Marks what lies outside the frustum; how many commands were newly marked.
    int frustumCull(const QMatrix4x4 &viewProjection);
    void resetCulling();

    // Drawing: the drawables whose flags equal \a flags under \a mask, by material
    // number. The caller has bound the program, and nothing else: collections, the
    // texture manager and vertex arrays are bound on the way. Nothing of it stays
    // bound, and GL_CULL_FACE is off behind it. What the last drawable's draw answered.
    //
    // viewMatrix:       where to sort from, under kFlagSortByDistance; null: unsorted.
    // excludeMaterials, materials: material numbers; none in the second: all.
    // stencil:          the stencil buffer gets the material number plus 1.

    bool draw(ShaderProgram *program, TextureManager *textureManager, const unsigned long long &flags,
              const unsigned long long &mask, const WindingType &winding, const QMatrix4x4 *viewMatrix,
              const QList<int> &excludeMaterials, const QList<int> &materials, bool stencil);
    bool draw(ShaderProgram *program, TextureManager *textureManager, const unsigned long long &flags,
              const unsigned long long &mask, const WindingType &winding, const QMatrix4x4 *viewMatrix,
              bool stencil);
    bool draw(ShaderProgram *program, TextureManager *textureManager, const unsigned long long &flags,
              const unsigned long long &mask, const WindingType &winding, bool stencil);
    bool draw(ShaderProgram *program, const unsigned long long &flags, const unsigned long long &mask,
              const WindingType &winding, bool stencil);
    bool draw(ShaderProgram *program, TextureManager *textureManager, const unsigned long long &flags,
              const unsigned long long &mask);
    bool drawExclude(ShaderProgram *program, TextureManager *textureManager, const unsigned long long &flags,
                     const unsigned long long &mask, const WindingType &winding, const QMatrix4x4 *viewMatrix,
                     const QList<int> &excludeMaterials);
    bool drawExclude(ShaderProgram *program, const unsigned long long &flags, const unsigned long long &mask,
                     const WindingType &winding, const QList<int> &excludeMaterials);
    bool drawMaterials(ShaderProgram *program, TextureManager *textureManager,
                       const unsigned long long &flags, const unsigned long long &mask,
                       const WindingType &winding, const QMatrix4x4 *viewMatrix, const QList<int> &materials);

    /// Without winding, stencil, sorting and choice of commands. False once any drawable's draw failed.
    bool drawSimple(ShaderProgram *program, TextureManager *textureManager, const unsigned long long &flags,
                    const unsigned long long &mask);

    // One drawable, by its position. The references are what the calls so far have
    // bound. They start null, and again after clear() and set(), which may delete it.

    /// Chooses the commands where \a commands is empty, sorts them if asked, and draws.
    bool drawMesh(int drawable, InstanceDataCollection *&object, InstanceDataCollection *&material,
                  TextureManager *&boundManager, VertexArrayObject *&vao, DrawBuffers *&boundBuffers,
                  ShaderProgram *program, TextureManager *textureManager, const unsigned long long &flags,
                  const WindingType &winding, const QMatrix4x4 *viewMatrix, QVector<int> commands);
    /// Changes what differs and draws the commands, all of them for null.
    bool drawMesh(int drawable, QVector<int> *commands, InstanceDataCollection *&object,
                  InstanceDataCollection *&material, TextureManager *&boundManager, VertexArrayObject *&vao,
                  DrawBuffers *&boundBuffers, ShaderProgram *program, TextureManager *textureManager);

private:
    /// A command that has a box, as frustumCull() reads it: what it needs of all drawables lies in one run of memory.
    struct BoxedCommand
    {
        int box;
        int transform;
        int instance;
        int drawCommand;
    };
    struct DistanceSort
    {
        float distance;
        int drawCommand;
    };
    class ZELGL_NO_EXPORT CommandSelection;
    class ZELGL_NO_EXPORT DrawPass;

    ZELGL_NO_EXPORT static bool flagsLessThan(const Drawable &a, const Drawable &b);
    ZELGL_NO_EXPORT static bool distanceCompare(const DistanceSort &a, const DistanceSort &b);
    ZELGL_NO_EXPORT static BoundingBox invertedBounds();
    ZELGL_NO_EXPORT static int commandCount(const Drawable &drawable);
    ZELGL_NO_EXPORT static void setMarkCount(Drawable &drawable, int commands);

    ZELGL_NO_EXPORT Drawable *drawable(int instance);
    ZELGL_NO_EXPORT const Drawable *drawable(int instance) const;
    ZELGL_NO_EXPORT const Drawable *drawableAt(int position) const;
    ZELGL_NO_EXPORT void addUses(const Drawable &drawable);
    ZELGL_NO_EXPORT void deleteObjects(const QVector<QObject *> &objects);
    ZELGL_NO_EXPORT int append(const Drawable &drawable, int materialNumber);
    ZELGL_NO_EXPORT void updateOnlyTransform(int position);
    ZELGL_NO_EXPORT void changeFlags(int instance, unsigned long long flags, unsigned long long mask);

    ZELGL_NO_EXPORT TransformTree transformTree() const;
    ZELGL_NO_EXPORT int parentOf(int transform) const;
    ZELGL_NO_EXPORT bool isParentDirty(int transform) const;
    ZELGL_NO_EXPORT void updateChain(int transform, MatrixWriter &writer);
    ZELGL_NO_EXPORT void recompute(int transform, MatrixWriter &writer);
    ZELGL_NO_EXPORT QMatrix4x4 lockedWorld(int transform, const QMatrix4x4 &parentWorld);

    ZELGL_NO_EXPORT bool isHidden(int transform, const TransformTree &tree) const;
    ZELGL_NO_EXPORT void collectBoxedCommands();
    ZELGL_NO_EXPORT bool isBoxOutside(const FrustumTest &frustum, int box, int transform) const;

    unsigned long long _featureFlags = 15;
    QVector<Drawable> _drawables;
    QVector<int> _onlyTransforms;     ///< by position; of drawables with one command
    QVector<int> _instanceToDrawable; ///< positions, by instance number
    QHash<int, QVector<int>> _materialDrawables;
    QHash<QString, QVector<InstanceRef>> _materialInstances;
    QHash<QString, QVector<InstanceRef>> _objectInstances;
    QHash<QObject *, int> _uses; ///< by drawables, of what add() and set() were given
    bool _deleteOnClear = true;
    bool _flagsDirty = false;

    // By transform.
    QVector<QMatrix4x4> _localTransforms;
    QVector<bool> _transformLocked;
    QVector<QMatrix4x4> _worldTransforms;
    QVector<QMatrix3x3> _normalTransforms;
    QVector<int> _transformParents;
    QVector<bool> _transformSwapsHandedness;
    QVector<bool> _transformDirty;
    QVector<int> _transformVisibility;
    bool _transformsDirty = false;
    QHash<QString, int> _transformNames;
    QVector<QVector<InstanceRef>> _transformInstances;

    QVector<InstanceRef> _movedInstances; ///< their "PreviousModelMatrix" lags behind
    QVector<Camera> _cameras;
    QVector<QString> _cameraNames;
    QVector<Light> _lights;
    QVector<QString> _lightNames;
    QVector<BoundingBox> _boundingBoxes;
    QVector<BoxedCommand> _boxedCommands; ///< collected when culling finds them dirty
    bool _boxedCommandsDirty = false;
    BoundingBox _sceneBounds;
    bool _boundsDirty = false;
    bool _containsReflectedTransparency = false;
    float _clipNearDefault = 0.1f;
    float _clipFarDefault = 200.0f;

    int _runningDraws = 0;       ///< host code may draw during a draw
    QVector<QObject *> _removed; ///< to be deleted when no draw is running

    // Kept from drawable to drawable, so that a frame allocates nothing for each.
    QVector<int> _chosenCommands;
    QVector<int> _otherCommands;
    QVector<DistanceSort> _distances;
    QVector<int> _dirtyChain;
};

}} // namespace Orvane::Zel

Q_DECLARE_TYPEINFO(Orvane::Zel::GPUModel::InstanceRef, Q_PRIMITIVE_TYPE);
Q_DECLARE_TYPEINFO(Orvane::Zel::GPUModel::BoundingBox, Q_PRIMITIVE_TYPE);
Q_DECLARE_TYPEINFO(Orvane::Zel::GPUModel::Camera, Q_MOVABLE_TYPE);
Q_DECLARE_TYPEINFO(Orvane::Zel::GPUModel::Light, Q_MOVABLE_TYPE);
Q_DECLARE_TYPEINFO(Orvane::Zel::GPUModel::Drawable, Q_MOVABLE_TYPE);
