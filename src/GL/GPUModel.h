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

/// Face culling of a draw.
enum WindingType {
    eWindingDefault = 0, ///< the host's GL state
    eWindingOff = 1,     ///< no culling
    eWindingCCW = 2,     ///< counter-clockwise front faces; a second pass draws the mirrored commands
    eWindingCW = 3       ///< clockwise front faces, for mirrored commands; a second pass draws the others
};

/// A scene: drawables with their instance data, a hierarchy of transforms, cameras, lights, bounding boxes, and the names of
/// materials and objects. It culls and draws them.
///
/// A transform sets no uniform. An update writes its matrices into the object data of the draw commands that use it, as the
/// members "ModelMatrix", "PreviousModelMatrix", "InverseModelMatrix" and, if the plan has it, "ModelNormalMatrix". All four are
/// eMat4; the first nine numbers of the last one are the 3 x 3 matrix, column after column without gaps. The plan must have
/// the first three: a missing one is written at offset 0, over the first member.
///
/// Item i of a drawable's collections belongs to its draw command i, whose draw ID is i: shaders find both by getDrawID().
///
/// The order of a frame: updateTransforms(), resetCulling(), visibilityCull(), frustumCull(), any number of draws,
/// updatePreviousMatrices().
///
/// While setDeleteOnClear() is on, which is the default, the model owns what add() got: clear() deletes it in the order of the
/// drawables, and set() deletes what it replaces if no other drawable uses it. The destructor deletes nothing.
///
/// \snippet scene.cpp GPUModel
///
/// Units:   the host's unit of length; metres for the film and the focal length of cameras.
/// Context: draws, and clear() and set() if they delete, need that of the draw buffers and collections.
/// Errors:  an index that is out of range has no effect, and getters return a default; nothing is logged. Check with
///          isValidTransform() and isValidBoundingBox(). Host code that runs during a draw (a texture manager, an image reader,
///          a message handler) may change the model: the next draw is the first to see the change, and objects that clear() or
///          set() removes are deleted when the draw ends.
class ZELGL_EXPORT GPUModel
{
    Q_DISABLE_COPY(GPUModel)

public:
    // The same type and values as in the namespace.
    using WindingType = Zel::WindingType;
    static constexpr WindingType eWindingDefault = Zel::eWindingDefault;
    static constexpr WindingType eWindingOff = Zel::eWindingOff;
    static constexpr WindingType eWindingCCW = Zel::eWindingCCW;
    static constexpr WindingType eWindingCW = Zel::eWindingCW;

    static constexpr int kInvalidBoundingBoxRef = -1;
    static constexpr int kInvalidTransformRef = -1;
    static constexpr int kInvalidCameraIndex = -1;

    // Bits of a drawable's flags. All others are free for the host.
    static constexpr unsigned long long kFlagHidden = 1ull << 63;
    static constexpr unsigned long long kFlagSortByDistance = 1ull << 62; ///< of a draw, not of a drawable
    static constexpr unsigned long long kFlagTwoSided = 1ull << 60;
    static constexpr int kUVSetsShift = 55;      ///< number of UV sets, three bits
    static constexpr int kTangentSetsShift = 52; ///< number of tangent sets, three bits

    // Bits of the feature flags. The default is 15.
    static constexpr unsigned long long kFeatureFilterSimple = 1; ///< drawSimple() filters by flags
    static constexpr unsigned long long kFeatureCulling = 2;
    static constexpr unsigned long long kFeatureSimple = 16; ///< draw() calls drawSimple()

    /// A mesh with its instance data. The vectors are by draw command.
    struct Drawable
    {
        DrawBuffers *drawBuffers = nullptr;
        InstanceDataCollection *materialData = nullptr;
        InstanceDataCollection *objectData = nullptr;
        unsigned long long flags = 0;
        int instance = 0; ///< the number that add() returned; sorting does not change it
        QVector<int> transformRefs;
        QVector<int> boundingBoxRefs;
        QVector<bool> culled; ///< unused if there is one command: the count is enough
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
        bool depthOfField = false; ///< for the host; unused here
        float fStop = 0.0f;        ///< for the host; unused here
        int projectionType = 0;    ///< 0 perspective, 1 orthographic
        float farClip = 0.0f;      ///< 0: that of setClipPlaneDefaults()
        float nearClip = 0.0f;     ///< 0: that of setClipPlaneDefaults()
    };

    /// Stored for the host; unused here.
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

    /// Returns whether a matrix mirrors.
    static bool SwapsHandedness(const QMatrix4x4 &matrix);

    GPUModel();
    ~GPUModel();

    /// Removes drawables, names and transforms. Cameras, lights, boxes and the list of moved commands for
    /// updatePreviousMatrices() stay. So does the visibility of transforms: new ones reuse the numbers, and inherit it.
    void clear();
    void setDeleteOnClear(bool deleteOnClear);
    void setFeatureFlags(unsigned long long flags);
    unsigned long long getFeatureFlags() const;
    bool hasFeatureFlags(unsigned long long mask) const;
    void setClipPlaneDefaults(float nearClip, float farClip);
    bool containsReflectedTransparency() const;
    void setContainsReflectedTransparency(bool contains);

    // Drawables. They are identified by instance number.

    /// Adds a drawable and returns its instance number. Drawables with the same \a materialNumber are drawn one after the other;
    /// draws select by it. Either collection may be null. Adding in ascending order of flags saves sorting.
    ///
    /// Set the draw commands of \a drawBuffers first: draw() ignores commands that are added later, until set(). It also ignores
    /// draw buffers without commands, which only drawSimple() draws.
    int add(DrawBuffers *drawBuffers, int materialNumber, InstanceDataCollection *material,
            InstanceDataCollection *object, const unsigned long long &flags);
    /// Adds a drawable for drawSimple(), without transforms, boxes and culling. Its material number is 0.
    int addSimple(DrawBuffers *drawBuffers, int materialNumber, InstanceDataCollection *material,
                  InstanceDataCollection *object, const unsigned long long &flags);
    /// Replaces a drawable. Of the flags only the bits of \a mask change.
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
    // For the half-open range from first to last.
    void setFlags(int first, int last, unsigned long long flags, unsigned long long mask);
    void addFlags(int first, int last, unsigned long long flags);
    void removeFlags(int first, int last, unsigned long long flags);
    /// Sorts the drawables by flags if flags changed, or drawables were added out of order, since clear(). Material numbers,
    /// names and the use of transforms refer to positions: they then belong to the drawable that is now at the position.
    void sortDrawablesByFlags();
    /// Returns whether any drawable has one of the bits.
    bool isDrawAny(unsigned long long bits) const;
    /// Returns whether no drawable has these flags. With kFeatureCulling a drawable counts only if a command of it is not culled.
    bool isDrawEmpty(unsigned long long value, unsigned long long mask) const;
    int maxUVSets() const;
    int maxTangentSets() const;

    // Transforms.

    int addTransform(int parent, const QMatrix4x4 &local);
    /// With \a locked the transform inherits its parent's position and scale but not its rotation. A matrix that equals the
    /// present one changes nothing, not even \a locked.
    void setLocalTransform(int transform, const QMatrix4x4 &local, bool locked);
    void setWorldTransform(int transform, const QMatrix4x4 &world);
    /// Marks the transform dirty if the parent is new. A parent that would make the transform its own ancestor is ignored.
    void setTransformParent(int transform, int parent);
    /// 0 and 1: visible; 2: hidden; 3: hidden with its descendants.
    void setVisibility(int transform, int visibility);
    int transformParent(int transform) const;
    QMatrix4x4 localTransform(int transform) const;
    QMatrix4x4 worldTransform(int transform) const;
    QMatrix3x3 normalTransform(int transform) const;
    bool isValidTransform(int transform) const;
    /// Returns whether the transform or one of its ancestors is dirty.
    bool isTransformDirty(int transform) const;
    /// Returns whether the transform or one of its ancestors has visibility 3.
    bool isParentHidden(int transform) const;
    bool isVisible(int transform) const;
    /// A transform is its own descendant.
    bool isDescendant(int ancestor, int transform) const;
    void useTransform(int instance, int drawCommand, int transform);
    void useBoundingBox(int instance, int drawCommand, int box);
    /// Updates a transform and its ancestors if they are dirty, and returns the world matrix.
    QMatrix4x4 updateTransform(int transform);
    void updateTransforms();
    /// Copies "ModelMatrix" to "PreviousModelMatrix" for what has moved. Call it once a frame, after the draws.
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
    // As InstanceDataCollection::set(), for each draw command with the name.

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
    /// A negative index means a 36 x 24 mm film with a 50 mm lens. The film is cropped to \a aspect.
    QMatrix4x4 getCameraProjectionMatrix(int index, float aspect) const;
    int addLight(const Light &light, const QString &name);
    void getLight(int index, Light &light) const;
    int lightCount() const;
    /// Replaces all boxes by copies of \a count ones.
    void loadBoundingBoxes(const BoundingBox *boxes, int count);
    BoundingBox getBoundingBox(int index) const;
    bool isValidBoundingBox(int index) const;
    /// Returns the box around the boxes of all commands that are not culled, or inverted extremes (1e20 to -1e20) without such
    /// boxes. Transforms are not applied: each box is taken in its own space. Only add(), set(), clear() and culling make it be
    /// computed again; loadBoundingBoxes() and useBoundingBox() do not.
    const BoundingBox &sceneBounds();

    quint64 memoryEstimateCPU() const;
    quint64 memoryEstimateGPU() const;
    int getTotalVerts() const;

    // Culling marks draw commands; a draw leaves these out. Without kFeatureCulling the passes still mark, but resetCulling()
    // does nothing.

    /// Culls what flags or transforms hide, and what is scaled to nothing at the origin. Returns the number of newly culled
    /// commands.
    int visibilityCull();
    /// Culls commands whose box is outside the frustum. Returns the number of newly culled commands.
    int frustumCull(const QMatrix4x4 &viewProjection);
    /// Removes all marks.
    void resetCulling();

    // Drawing. A draw selects the drawables whose flags equal \a flags under \a mask and draws them by material number. Bind the
    // program first; the draw binds and unbinds everything else, and disables GL_CULL_FACE at its end. It returns the result of
    // the last drawable.
    //
    // viewMatrix:       with kFlagSortByDistance in flags, sorts the commands of each drawable by distance; null: unsorted.
    // excludeMaterials: material numbers.
    // materials:        material numbers; all if empty.
    // stencil:          writes the material number plus 1 to the stencil buffer.

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

    /// Draws without winding, stencil, sorting and culling. Returns false if any drawable failed.
    bool drawSimple(ShaderProgram *program, TextureManager *textureManager, const unsigned long long &flags,
                    const unsigned long long &mask);

    // Drawing one drawable, by its position. The references are what the calls so far have bound. Set them to null before the
    // first call, and after clear() and set(), which may delete the objects.

    /// Draws \a commands or, if it is empty, those that are visible and not culled. Sorts them if asked.
    bool drawMesh(int drawable, InstanceDataCollection *&object, InstanceDataCollection *&material,
                  TextureManager *&boundManager, VertexArrayObject *&vao, DrawBuffers *&boundBuffers,
                  ShaderProgram *program, TextureManager *textureManager, const unsigned long long &flags,
                  const WindingType &winding, const QMatrix4x4 *viewMatrix, QVector<int> commands);
    /// Draws \a commands, or all for null.
    bool drawMesh(int drawable, QVector<int> *commands, InstanceDataCollection *&object,
                  InstanceDataCollection *&material, TextureManager *&boundManager, VertexArrayObject *&vao,
                  DrawBuffers *&boundBuffers, ShaderProgram *program, TextureManager *textureManager);

private:
    /// A command with a box. frustumCull() reads those of all drawables from contiguous memory.
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
    QVector<int> _onlyTransforms;     ///< by position: the transform of a drawable with one command
    QVector<int> _instanceToDrawable; ///< positions, by instance number
    QHash<int, QVector<int>> _materialDrawables;
    QHash<QString, QVector<InstanceRef>> _materialInstances;
    QHash<QString, QVector<InstanceRef>> _objectInstances;
    QHash<QObject *, int> _uses; ///< how many drawables use an object
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

    QVector<InstanceRef> _movedInstances; ///< for updatePreviousMatrices()
    QVector<Camera> _cameras;
    QVector<QString> _cameraNames;
    QVector<Light> _lights;
    QVector<QString> _lightNames;
    QVector<BoundingBox> _boundingBoxes;
    QVector<BoxedCommand> _boxedCommands; ///< frustumCull() collects them if they are dirty
    bool _boxedCommandsDirty = false;
    BoundingBox _sceneBounds;
    bool _boundsDirty = false;
    bool _containsReflectedTransparency = false;
    float _clipNearDefault = 0.1f;
    float _clipFarDefault = 200.0f;

    int _runningDraws = 0;       ///< may exceed 1: host code may draw during a draw
    QVector<QObject *> _removed; ///< deleted when no draw is running

    // Kept between uses, so that a frame allocates nothing for a drawable.
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
