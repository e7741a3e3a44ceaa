#include "support/GLFixture.h"
#include "support/Tap.h"
#include "support/TestBuffer.h"
#include "support/TestProgram.h"

#include <ZelGL/AutoBinder.h>
#include <ZelGL/VertexArrayObject.h>

#include <QtCore/QSet>

using namespace Orvane::Zel;

namespace {

const AssertionsOf asserted("VertexArrayObject.cpp");
const float kNineFloats[9] = {};

/// The calls that specify or clear an attribute slot.
using SlotTaps = Taps<&glEnableVertexAttribArray, &glDisableVertexAttribArray, &glVertexAttribPointer,
                      &glVertexAttribIPointer, &glBindBuffer>;

using VertexArrayObjectTest = GLTest;

} // namespace

TEST_F(VertexArrayObjectTest, TheNameComesWithTheFirstBindAndStaysWhereABoundObjectIsDeleted)
{
    auto vao = std::make_unique<VertexArrayObject>(nullptr);
    EXPECT_TRUE(vao->destroy());
    EXPECT_FALSE(vao->isBound() || vao->unbind());
    EXPECT_TRUE(asserted.reported(R"(
0u != this->_vao: Vertex Array Object is NULL on isBound
0u != this->_vao: Vertex Array Object is NULL on unbind)"));
    EXPECT_EQ(0u, vao->getVAO());
    EXPECT_TRUE(vao->bind() && vao->isBound());
    GLuint name = vao->getVAO();
    EXPECT_EQ(GLint(name), integerOf(GL_VERTEX_ARRAY_BINDING));
    EXPECT_FALSE(vao->bind() || vao->create());
    EXPECT_TRUE(vao->unbind());
    EXPECT_FALSE(vao->unbind());
    EXPECT_TRUE(asserted.reported(R"(
false == this->_vaoBound: Vertex Array Object is already bound on bind
0u == this->_vao: Vertex Array Object is not NULL on create
true == this->_vaoBound: Vertex Array Object is not bound on unbind)"));

    EXPECT_TRUE(vao->bind());
    vao.reset();
    EXPECT_EQ(0, VertexArrayObject::NumAlive());
    EXPECT_TRUE(asserted.reported(R"(
false == this->_vaoBound: Vertex Array Object is already bound on destroy
false == this->_vaoBound: Vertex Array Object is bound during class destructor
0u == this->_vao: Vertex Array Object needs to be destroied before class destructor)"));
    glDeleteVertexArrays(1, &name);
}

TEST_F(VertexArrayObjectTest, OnlyWholeVerticesReachTheBufferOfAName)
{
    VertexArrayObject vao(nullptr);
    const QSharedPointer<BufferObject> buffer = makeBuffer(GL_ARRAY_BUFFER);
    EXPECT_FALSE(vao.upload("va_Vertex", {}, 3, GL_FLOAT)
                 || vao.upload("va_Vertex", {}, kNineFloats, 9, 3, GL_STATIC_DRAW)
                 || vao.upload("va_Vertex", buffer, kNineFloats, 8, 3, GL_STATIC_DRAW)
                 || vao.upload("va_Vertex", buffer, kNineFloats, 9, 0, GL_STATIC_DRAW)
                 || vao.subUpload("va_Vertex", kNineFloats, 3, 3, 0));
    EXPECT_TRUE(asserted.reported(R"(
!bufferObj.isNull(): Must Supply a valid BO pointer
NULL != bufferObj: Must Supply a valid BO pointer
0 == (valueCount \% valuesPerVertex): Data size (8) must be a multi of the values per vertex (3)
0 == (valueCount \% valuesPerVertex): Data size (9) must be a multi of the values per vertex (0)
_attributesData.contains(attrName): Must Supply an existing BO attribute name)"));
    {
        const AutoBinder binder(buffer.data());
        EXPECT_FALSE(vao.upload("va_Vertex", buffer, kNineFloats, 9, 3, GL_STATIC_DRAW));
    }
    EXPECT_MESSAGES(
        startsWith("critical [BufferObject.cpp:#] [ !! ] Assertion '0u == this->_boBountTarget' failed"),
        "critical [VertexArrayObject.cpp:#] [ !! ] Failed to bind BO");
    EXPECT_EQ(0, buffer->valueCount());
    EXPECT_TRUE(vao.bo("va_Vertex").isNull());

    EXPECT_EQ(nullptr, vao.mapBO("va_Vertex"));
    vao.unmapBO("va_Vertex");

    EXPECT_TRUE(vao.upload("va_Vertex", buffer, QVector<float>(9), 3, GL_STATIC_DRAW));
    EXPECT_EQ(buffer, vao.bo("va_Vertex"));
    EXPECT_FALSE(vao.subUpload("va_Vertex", kNineFloats, 2, 2, 0)
                 || vao.subUpload("va_Vertex", kNineFloats, 4, 3, 0));
    EXPECT_TRUE(asserted.reported(R"(
_attributesData[attrName]._valuesPerVertex == valuesPerVertex: Values per vertex must match (Current 3 != New 2)
0 == (valueCount \% valuesPerVertex): Data size (4) must be a multi of the values per vertex (3))"));
    EXPECT_TRUE(vao.subUpload("va_Vertex", QVector<float>{1.0f, 2.0f, 3.0f}, 3, 6));
    auto *mapped = static_cast<float *>(vao.mapBO("va_Vertex"));
    ASSERT_NE(nullptr, mapped);
    mapped[0] = 7.0f;
    vao.unmapBO("va_Vertex");
    EXPECT_EQ((std::vector<float>{7, 0, 0, 0, 0, 0, 1, 2, 3}), contentsOf<float>(*buffer, 9));
    EXPECT_TRUE(vao.upload("va_Normal", buffer, 3, GL_FLOAT));
    EXPECT_EQ(56u + 2 * (48u + 9u + 96u), vao.memoryEstimateCPU());
    EXPECT_EQ(72u, vao.memoryEstimateGPU()) << "a shared buffer counts twice";
}

TEST_F(VertexArrayObjectTest, EnableArrayNeedsABoundObjectAndASlotThatExists)
{
    VertexArrayObject vao(nullptr);
    const SlotTaps taps;
    EXPECT_FALSE(vao.enableArray("a", -1) || vao.enableArray("a", 0));
    vao.create();
    EXPECT_FALSE(vao.enableArray("a", 0));
    const AutoBinder binder(&vao);
    vao.registerBO("a", {}, 3, GL_FLOAT);
    const int limit = integerOf(GL_MAX_VERTEX_ATTRIBS);
    EXPECT_FALSE(vao.enableArray("a", limit) || vao.enableArray("a", 0)
                 || vao.subUpload("a", kNineFloats, 3, 3, 0));
    EXPECT_TRUE(asserted.reported(QString(R"(
0 <= attributeIndex: Attribute Index is NULL on enable array
0u != this->_vao: Vertex Array Object is NULL on enable array
true == this->_vaoBound: Vertex Array Object is not bound on enable array
attributeIndex < _enabledAttributeNames.size(): Attribute Index %1 is not below GL_MAX_VERTEX_ATTRIBS %1
!bufferObj.isNull(): Attribute 'a' has a NULL BO
!bufferObj.isNull(): Attribute 'a' has a NULL BO)")
                                      .arg(limit)));
    EXPECT_EQ(0u, taps.count());
}

TEST_F(VertexArrayObjectTest, IntegersStayIntegersUnlessNormalizedAndSomeTypesAreNotSupported)
{
    VertexArrayObject vao(nullptr);
    const QSharedPointer<BufferObject> buffer = makeBuffer(GL_ARRAY_BUFFER);
    const QSet<GLenum> supported{GL_UNSIGNED_BYTE, GL_UNSIGNED_SHORT, GL_INT,
                                 GL_UNSIGNED_INT,  GL_FLOAT,          GL_HALF_FLOAT};
    for (GLenum type = GL_BYTE; type <= GL_FIXED; ++type) {
        EXPECT_EQ(supported.contains(type), VertexArrayObject::isTypeSupported(type)) << type;
    }
    vao.registerBO("stored anyway", buffer, 4, GL_BYTE);
    EXPECT_MESSAGES(asserted("true == isTypeSupported(type)", "Unsupported type 0x1400"));
    EXPECT_EQ(buffer, vao.bo("stored anyway"));

    ASSERT_TRUE(vao.upload("position", buffer, kNineFloats, 9, 3, GL_STATIC_DRAW));
    vao.registerBO("index", buffer, 2, GL_UNSIGNED_INT, false, 12, 4);
    vao.registerBO("color", buffer, 4, GL_UNSIGNED_BYTE, true, 12, 8);
    const AutoBinder binder(&vao);
    SlotTaps taps;
    EXPECT_TRUE(vao.enableArray("position", 0));
    EXPECT_EQ(
        std::make_tuple(0u, 3, GLenum(GL_FLOAT), GLboolean(GL_FALSE), 0, static_cast<const void *>(nullptr)),
        taps.of<&glVertexAttribPointer>().calls().back());
    EXPECT_TRUE(vao.enableArray("color", 1));
    EXPECT_EQ(std::make_tuple(1u, 4, GLenum(GL_UNSIGNED_BYTE), GLboolean(GL_TRUE), 12,
                              reinterpret_cast<const void *>(8)),
              taps.of<&glVertexAttribPointer>().calls().back());
    EXPECT_TRUE(vao.enableArray("index", 2));
    EXPECT_EQ(std::make_tuple(2u, 2, GLenum(GL_UNSIGNED_INT), 12, reinterpret_cast<const void *>(4)),
              taps.of<&glVertexAttribIPointer>().calls().back());
    EXPECT_EQ(2u, taps.of<&glVertexAttribPointer>().count());
}

TEST_F(VertexArrayObjectTest, ArraysAreSpecifiedOnceAndOnlyWhereTheNameChanged)
{
    ZEL_NEEDS_EXTENSION("GL_ARB_explicit_attrib_location");
    const auto programOf = [](const char *name) {
        const QByteArray source = "#version 330\n"
                                  "layout (location = 0) in vec3 a; layout (location = 1) in vec3 NAME;\n"
                                  "void main() { gl_Position = vec4(a + NAME, 1.0); }\n";
        return makeProgram(QByteArray(source).replace("NAME", name).constData());
    };
    const auto two = programOf("b");
    const auto swapped = programOf("c");
    VertexArrayObject vao(nullptr);
    const QSharedPointer<BufferObject> buffer = makeBuffer(GL_ARRAY_BUFFER);
    for (const char *name : {"a", "b", "c"}) {
        ASSERT_TRUE(vao.upload(name, buffer, kNineFloats, 9, 3, GL_STATIC_DRAW));
    }
    ASSERT_TRUE(vao.bind());
    SlotTaps taps;
    const auto slotsBy = [&](const ShaderProgram *program) { // number of slots that a call specifies
        taps.clear();
        EXPECT_TRUE(vao.enableShaderProgramArrays(program));
        EXPECT_EQ(0u, taps.count() % 4); // enable, bind, specify, unbind
        return taps.count() / 4;
    };
    EXPECT_EQ(0u, slotsBy(nullptr));
    EXPECT_EQ(2u, slotsBy(two.get()));
    EXPECT_EQ(0u, slotsBy(two.get()));
    EXPECT_EQ(1u, slotsBy(swapped.get()));
    vao.registerBO("a", buffer, 3, GL_FLOAT);
    EXPECT_EQ(1u, slotsBy(swapped.get())) << "a newly registered buffer is specified again";
    EXPECT_EQ(0u, taps.of<&glVertexAttribPointer>().last<0>());
    EXPECT_TRUE(vao.enableArray("c", 0));
    EXPECT_EQ(1u, slotsBy(swapped.get())) << "a slot that was given to another name comes back";
    EXPECT_EQ(0u, slotsBy(swapped.get()));
    vao.dirtyAttributeName("c");
    EXPECT_EQ(1u, slotsBy(swapped.get()));
    EXPECT_TRUE(vao.unbind());
    EXPECT_TRUE(asserted.refused({{vao.enableShaderProgramArrays(swapped.get()), "true == this->_vaoBound",
                                   "Vertex Array Object is not bound on enable array"}}));
}

TEST_F(VertexArrayObjectTest, AMissingAttributeIsDisabledAndZeroedByTheSizeOfItsSlot)
{
    VertexArrayObject vao(nullptr);
    ASSERT_TRUE(vao.upload("known", makeBuffer(GL_ARRAY_BUFFER), kNineFloats, 9, 3, GL_STATIC_DRAW));
    const AutoBinder binder(&vao);
    ASSERT_TRUE(vao.enableArray("known", 1));
    SlotTaps taps;
    const Taps<&glVertexAttrib1f, &glVertexAttrib2f, &glVertexAttrib3f, &glVertexAttrib4f> zeros;
    EXPECT_TRUE(vao.enableArray("unknown", 1));
    EXPECT_EQ(1u, taps.of<&glDisableVertexAttribArray>().last<0>());
    EXPECT_EQ(std::make_tuple(1u, 0.0f, 0.0f, 0.0f, 0.0f), zeros.of<&glVertexAttrib4f>().calls().back())
        << "the slot had three components";
    EXPECT_TRUE(vao.enableArray("known", 1));
    EXPECT_EQ(1u, taps.of<&glVertexAttribPointer>().count());

    Tap<&glGetVertexAttribiv> sizes;
    for (GLint size = 0; size <= 4; ++size) {
        sizes.replace([size](GLuint, GLenum, GLint *answer) { *answer = size; });
        EXPECT_TRUE(vao.enableArray("unknown", 2));
        EXPECT_EQ(GLenum(GL_VERTEX_ATTRIB_ARRAY_SIZE), sizes.last<1>());
        std::vector<GLfloat> value(4);
        driver()->glGetVertexAttribfv(2, GL_CURRENT_VERTEX_ATTRIB, value.data());
        EXPECT_EQ((std::vector<GLfloat>{0, 0, 0, size < 3 ? 1.0f : 0.0f}), value);
    }
    EXPECT_EQ(
        (std::vector<size_t>{1, 1, 1, 2}),
        (std::vector<size_t>{zeros.of<&glVertexAttrib1f>().count(), zeros.of<&glVertexAttrib2f>().count(),
                             zeros.of<&glVertexAttrib3f>().count(), zeros.of<&glVertexAttrib4f>().count()}));

    const auto program =
        makeProgram("#version 150\nin vec4 unknown;\nvoid main() { gl_Position = unknown; }\n");
    taps.of<&glDisableVertexAttribArray>().clear();
    EXPECT_TRUE(vao.enableShaderProgramArrays(program.get()));
    EXPECT_TRUE(vao.enableShaderProgramArrays(program.get()));
    EXPECT_EQ(2u, taps.of<&glDisableVertexAttribArray>().count()) << "each time again";
}

TEST_F(VertexArrayObjectTest, RebindMovesTheMarkAndReportsWhetherGLHadToBind)
{
    VertexArrayObject first(nullptr);
    VertexArrayObject second(nullptr);
    Tap<&glBindVertexArray> binds;
    bool didBind = false;
    EXPECT_TRUE(first.rebind(nullptr, didBind));
    EXPECT_TRUE(didBind);
    EXPECT_TRUE(first.rebind(&first, didBind));
    EXPECT_FALSE(didBind);
    EXPECT_EQ(1u, binds.count());
    EXPECT_TRUE(second.rebind(&first, didBind)) << "the name is made here";
    EXPECT_TRUE(didBind);
    EXPECT_EQ(second.getVAO(), binds.last<0>());
    EXPECT_FALSE(first.isBound());
    EXPECT_TRUE(second.isBound());

    EXPECT_FALSE(second.rebind(&first, didBind));
    EXPECT_TRUE(second.unbind());
    VertexArrayObject unnamed(nullptr);
    EXPECT_FALSE(second.rebind(&first, didBind) || second.rebind(&unnamed, didBind));
    EXPECT_TRUE(asserted.reported(R"(
false == this->_vaoBound: Vertex Array Object is already bound on rebind
true == vertexArrayObjectBound->_vaoBound: Vertex Array Object is not already bound on rebind
0u != vertexArrayObjectBound->_vao: Vertex Array Object is NULL on rebind)"));
    EXPECT_FALSE(didBind);
}
