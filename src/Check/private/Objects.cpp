#include "Objects.h"

#include "Driver.h"
#include "HostCalls.h"
#include "ProgramFacts.h"
#include "Reports.h"

#include <ZelGL/GLUtilities.h>

#include <QtGui/QOpenGLContext>

#include <QtCore/QFileInfo>

#include <cxxabi.h>
#include <dlfcn.h>
#include <execinfo.h>
#include <link.h>

#include <algorithm>
#include <cstdlib>

namespace Orvane { namespace ZelCheck {

namespace {

struct KindRow
{
    Kind kind;
    GLenum identifier;
    const char *word;
};

constexpr KindRow kKinds[] = {
    {Kind::eBuffer, GL_BUFFER, "buffer"},
    {Kind::eTexture, GL_TEXTURE, "texture"},
    {Kind::eRenderbuffer, GL_RENDERBUFFER, "renderbuffer"},
    {Kind::eQuery, GL_QUERY, "query"},
    {Kind::eVertexArray, GL_VERTEX_ARRAY, "vertex array"},
    {Kind::eFramebuffer, GL_FRAMEBUFFER, "framebuffer"},
    {Kind::eProgram, GL_PROGRAM, "program"},
    {Kind::eShader, GL_SHADER, "shader"},
};

thread_local QString imageBeingRead;

/// Vertex arrays and framebuffers belong to one context, the others to its share group.
const void *ownerNow(Kind kind)
{
    const QOpenGLContext *context = QOpenGLContext::currentContext();
    const bool isOfContext = kind == Kind::eVertexArray || kind == Kind::eFramebuffer;
    return context == nullptr || isOfContext ? static_cast<const void *>(context) : context->shareGroup();
}

/// A place in the code of the process.
struct Place
{
    bool isInLibrary = false; ///< in libZelGL
    QByteArray function;      ///< "Orvane::Zel::Texture::create()"; empty if the library does not export it
};

Place findPlace(const char *address)
{
    static const void *const library = [] {
        Dl_info info = {};
        dladdr(reinterpret_cast<void *>(&::getGLProcAddress), &info);
        return info.dli_fbase;
    }();
    Place place;
    Dl_info info = {};
    const ElfW(Sym) *symbol = nullptr;
    void **const symbolOut = reinterpret_cast<void **>(const_cast<ElfW(Sym) **>(&symbol));
    place.isInLibrary = dladdr1(address, &info, symbolOut, RTLD_DL_SYMENT) != 0 && info.dli_fbase == library;
    // The symbol may be that of a function before, if the one of the address is not exported.
    if (place.isInLibrary && info.dli_sname != nullptr && symbol != nullptr
        && address < static_cast<const char *>(info.dli_saddr) + symbol->st_size) {
        char *const plain = abi::__cxa_demangle(info.dli_sname, nullptr, nullptr, nullptr);
        place.function = plain;
        std::free(plain);
    }
    return place;
}

/// That of a call; each is looked up once.
const Place &placeOf(void *returnAddress)
{
    static auto &places = *new std::map<void *, Place>; // never destroyed, like objects()
    const auto found = places.find(returnAddress);
    return found != places.end()
               ? found->second
               : places.emplace(returnAddress, findPlace(static_cast<char *>(returnAddress) - 1))
                     .first->second;
}

/// The classes of libZelGL whose functions have made an object: the one that wraps it, and the one that the host has called.
struct Makers
{
    QByteArray wrapper;
    QByteArray owner;
    bool readsImageFile = false;
};

/// "Texture" of "Orvane::Zel::Texture::create()"; empty for functions without a class.
QByteArray classOf(QByteArray function)
{
    function.truncate(qMax(function.indexOf('('), 0));
    const int end = function.lastIndexOf("::");
    const QByteArray scope = end < 0 ? QByteArray() : function.left(end);
    const int start = scope.lastIndexOf("::");
    const QByteArray name = start < 0 ? scope : scope.mid(start + 2);
    return name == "Zel" || name == "TvoImageCubemapUtils" || name == "OpenGLDeviceContext" ? QByteArray()
                                                                                            : name;
}

Makers makersOf(const ObjectFacts &facts)
{
    Makers makers;
    bool wasInLibrary = false;
    for (int i = 0; i < facts.frameCount; ++i) {
        const Place &place = placeOf(facts.frames[size_t(i)]);
        if (wasInLibrary && !place.isInLibrary) {
            break; // the host
        }
        wasInLibrary = place.isInLibrary;
        makers.readsImageFile |= place.function.contains("::LoadTextureFrom");
        const QByteArray name = classOf(place.function);
        makers.wrapper = makers.wrapper.isEmpty() ? name : makers.wrapper;
        makers.owner = name.isEmpty() ? makers.owner : name;
    }
    return makers;
}

/// "Texture 5 of ShadowMapManager".
QString madeBy(const Makers &makers, GLuint name)
{
    QString text = QString::number(name);
    if (!makers.wrapper.isEmpty()) {
        text.prepend(QString::fromLatin1(makers.wrapper) + ' ');
    }
    if (makers.owner != makers.wrapper) {
        text += QStringLiteral(" of ") + QString::fromLatin1(makers.owner);
    }
    return text;
}

/// Whether GL has made the object: names without a first bind are none, and have no labels.
bool exists(Kind kind, GLuint name)
{
    switch (kind) {
    case Kind::eBuffer:
        return driver.glIsBuffer(name) != GL_FALSE;
    case Kind::eTexture:
        return driver.glIsTexture(name) != GL_FALSE;
    case Kind::eRenderbuffer:
        return driver.glIsRenderbuffer(name) != GL_FALSE;
    case Kind::eQuery:
        return driver.glIsQuery(name) != GL_FALSE;
    case Kind::eVertexArray:
        return driver.glIsVertexArray(name) != GL_FALSE;
    case Kind::eFramebuffer:
        return driver.glIsFramebuffer(name) != GL_FALSE;
    case Kind::eProgram:
        return driver.glIsProgram(name) != GL_FALSE;
    case Kind::eShader:
        return driver.glIsShader(name) != GL_FALSE;
    }
    return false;
}

/// What the host calls it: the label, or the file.
QString hostNameOf(Kind kind, GLuint name, const ObjectFacts *facts)
{
    if (facts != nullptr && !facts->label.isEmpty()) {
        return facts->label;
    }
    if (facts != nullptr && !facts->file.isEmpty()) {
        return facts->file;
    }
    return kind == Kind::eProgram ? filesOfProgram(name) : QString();
}

} // namespace

Objects &objects()
{
    static Objects &all =
        *new Objects; // never destroyed: static objects of a host may delete GL objects at its end
    return all;
}

void Objects::made(Kind kind, GLsizei count, const GLuint *names)
{
    for (GLsizei i = 0; i < count; ++i) {
        ObjectFacts &facts = known(kind, names[i]) = ObjectFacts();
        facts.frameCount = backtrace(facts.frames.data(), int(facts.frames.size()));
        if (kind == Kind::eTexture && !imageBeingRead.isEmpty() && makersOf(facts).readsImageFile) {
            facts.file = QFileInfo(imageBeingRead).fileName();
        }
    }
}

void Objects::deletes(Kind kind, GLuint name, const char *call)
{
    const auto place = _facts.find({kind, name});
    if (place == _facts.end()) {
        return;
    }
    ByOwner &owners = place->second;
    if (owners.erase(ownerNow(kind)) != 0) {
        if (owners.empty()) {
            _facts.erase(place);
        }
        return;
    }
    report(Mistake::eDeletedElsewhere, 0, quint64(kind) << 32 | name, [&] {
        const bool hasContext = QOpenGLContext::currentContext() != nullptr;
        return QStringLiteral(
                   "%1() of object %2, which belongs to another context: %3. Make the context current that "
                   "made the object, or delete it before that context.")
            .arg(QLatin1String(call))
            .arg(name)
            .arg(QLatin1String(hasContext ? "the one that is current does not share it" : "none is current"));
    });
}

ObjectFacts *Objects::find(Kind kind, GLuint name)
{
    const auto place = _facts.find({kind, name});
    if (place == _facts.end()) {
        return nullptr;
    }
    const auto owned = place->second.find(ownerNow(kind));
    return owned != place->second.end() ? &owned->second : nullptr;
}

ObjectFacts &Objects::known(Kind kind, GLuint name)
{
    return _facts[{kind, name}][ownerNow(kind)];
}

QString nameOf(Kind kind, GLuint name)
{
    const ObjectFacts *facts = objects().find(kind, name);
    const Makers makers = facts != nullptr ? makersOf(*facts) : Makers();
    QString text = hostNameOf(kind, name, facts);
    if (text.isEmpty()) {
        text = labelOf(kind, name);
        if (text == titleOf(kind, name)) {
            text.clear(); // of the check itself
        }
    }
    if (text.isEmpty()) {
        const bool isPlain = makers.owner == makers.wrapper;
        return isPlain ? QString::number(name) : madeBy(Makers{QByteArray(), makers.owner}, name);
    }
    // One line; and messages replace %1 in several steps.
    text = text.simplified().replace('%', '_');
    return QStringLiteral("\"%1\" (%2)").arg(text, madeBy(makers, name));
}

QString titleOf(Kind kind, GLuint name)
{
    const ObjectFacts *facts = objects().find(kind, name);
    const QString own = hostNameOf(kind, name, facts);
    if (!own.isEmpty() || facts == nullptr) {
        return own;
    }
    const Makers makers = makersOf(*facts);
    return makers.wrapper.isEmpty() ? QString() : madeBy(makers, name);
}

QString labelOf(Kind kind, GLuint name)
{
    const auto getObjectLabel = newerFunctions().getObjectLabel;
    if (getObjectLabel == nullptr || !exists(kind, name)) {
        return QString();
    }
    GLchar text[256] = {};
    getObjectLabel(identifierOf(kind), name, sizeof text, nullptr, text);
    return QString::fromUtf8(text);
}

void setLabelOf(Kind kind, GLuint name, const QString &label)
{
    const auto objectLabel = newerFunctions().objectLabel;
    if (objectLabel == nullptr || label.isEmpty() || !exists(kind, name)) {
        return;
    }
    const QByteArray text = label.toUtf8().left(200); // GL allows 256 bytes
    objectLabel(identifierOf(kind), name, text.size(), text.constData());
}

GLenum identifierOf(Kind kind)
{
    return kKinds[int(kind)].identifier;
}

std::optional<Kind> kindOf(GLenum identifier)
{
    const auto row = std::find_if(std::begin(kKinds), std::end(kKinds),
                                  [identifier](const KindRow &one) { return one.identifier == identifier; });
    return row != std::end(kKinds) ? std::optional<Kind>(row->kind) : std::nullopt;
}

const char *wordFor(Kind kind)
{
    return kKinds[int(kind)].word;
}

void readsImage(const QString &path)
{
    imageBeingRead = path;
}

}} // namespace Orvane::ZelCheck
