#include "support/MessageCapture.h"

#include <ZelGL/GLUtilities.h>
#include <ZelGL/VertexArrayBuilder.h>

#include <vector>

using namespace Orvane::Zel;

namespace {

const AssertionsOf asserted("VertexArrayBuilder.cpp");

class VertexArrayBuilderTest : public MessageTest
{
protected:
    VertexArrayBuilder _builder;
};

} // namespace

TEST_F(VertexArrayBuilderTest, StreamsTakeTheirPushesIndependently)
{
    // The vertex count is a reservation, not a limit.
    _builder.setVertexSpec(3, 1);
    _builder.setColorSpec(3, 1);
    _builder.setTexCoordSpec(2, 1);
    _builder.setNormalSpec(3, 1);
    _builder.setVertexAttribSpec(7, 2, 1);
    _builder.setVertexAttribSpec(9, 3, 1);
    for (const float v : {0.0f, 100.0f}) {
        _builder.glVertex3f(v + 1, v + 2, v + 3);
        _builder.glColor3f(v + 4, v + 5, v + 6);
        _builder.glTexCoord2f(v + 8, v + 9);
        _builder.glVertexAttrib2f(7, v + 10, v + 11); // a macro of the loader adds the prefix
        _builder._ptrc_glVertexAttrib3f(9, v + 12, v + 13, v + 14);
    }
    _builder.glNormal3f(15, 16, 17); // no later vertex repeats it
    const auto expect = [](const std::vector<float> &expected, const float *data,
                           const VertexArrayBuilderStorage &storage) {
        ASSERT_EQ(expected.size(), storage.getSize() * storage.getComponentCount());
        EXPECT_EQ(expected, std::vector<float>(data, data + expected.size()));
    };
    expect({1, 2, 3, 101, 102, 103}, _builder.getVertexData(), _builder.getVertexStorage());
    expect({4, 5, 6, 104, 105, 106}, _builder.getColorData(), _builder.getColorStorage());
    expect({8, 9, 108, 109}, _builder.getTexCoordData(), _builder.getTexCoordStorage());
    expect({15, 16, 17}, _builder.getNormalData(), _builder.getNormalStorage());
    expect({10, 11, 110, 111}, _builder.getVertexAttribData(7), _builder.getVertexAttribStorage(7));
    expect({12, 13, 14, 112, 113, 114}, _builder.getVertexAttribData(9), _builder.getVertexAttribStorage(9));
    EXPECT_EQ(0u, _builder.getVertexAttribStorage(1).getComponentCount());
    EXPECT_EQ(nullptr, _builder.getVertexAttribData(1));
}

TEST_F(VertexArrayBuilderTest, WrongPushesSpecsAndCountsAreReportedAndTaken)
{
    const auto tooMany = [](int count, const char *data = "data") {
        return asserted(QString("%1 <= this->_componentCount").arg(count),
                        QString("Component Count is not large enough for the %1 being pushed").arg(data));
    };
    const QString notSetUp =
        asserted("0 != this->_componentCount", "Component Count must be setup before data is pushed");
    EXPECT_EQ(0u, _builder.getVertexCount());
    EXPECT_MESSAGES(
        asserted("0 != this->_componentCount", "Component Count must be setup before size is obtained"));
    _builder.glTexCoord1f(1);
    EXPECT_MESSAGES(notSetUp, tooMany(1, "sdata"));
    _builder.glVertex2f(1, 2);
    EXPECT_MESSAGES(notSetUp, tooMany(2));
    _builder.glVertexAttrib3f(2, 1, 2, 3);
    EXPECT_MESSAGES(notSetUp, tooMany(3));
    _builder.glColor4f(1, 2, 3, 4);
    EXPECT_MESSAGES(notSetUp, tooMany(4));

    EXPECT_EQ((std::vector<float>{1, 2, 3, 4}),
              std::vector<float>(_builder.getColorData(), _builder.getColorData() + 4));
    for (const unsigned count : {0u, 2u, 3u, 0u}) {
        _builder.setVertexSpec(count, 0xFFFFFFFFu); // a hint beyond what a vector can hold
    }
    const QString zero = asserted("0 != componentCount", "Component Count may not be 0.");
    EXPECT_MESSAGES(
        zero, asserted("0 == this->_componentCount", "Component Count already set to 2. Try to reset to 3"),
        asserted("0 == this->_componentCount", "Component Count already set to 3. Try to reset to 0"), zero);
    EXPECT_EQ(0u, _builder.getVertexCount());
    EXPECT_MESSAGES(asserted("0 == (this->_data.size() \\% this->_componentCount)",
                             "Component Count and array Size do not match."));
    _builder.glVertex2f(3, 4);
    _builder.glVertex2f(5, 6); // six floats are two vertices, whatever the pushes were
    EXPECT_EQ(2u, _builder.getVertexCount());
    EXPECT_EQ((std::vector<float>{1, 2, 3, 4, 5, 6}),
              std::vector<float>(_builder.getVertexData(), _builder.getVertexData() + 6));
    _builder.setNormalSpec(3, 2);
    _builder.glNormal3f(7, 8, 9);
    _builder.setTexCoordSpec(1, 2);
    _builder.setColorSpec(4, 2);
    _builder.setVertexAttribSpec(1, 2, 0); // not checked
    EXPECT_EQ(2u, _builder.getVertexCount());
    const auto differs = [](const char *member, const char *name) {
        return asserted(
            QString("this->%1.getComponentCount() == 0 || count == this->%1.getSize()").arg(member),
            QString("%1 count must match vertex count").arg(name));
    };
    EXPECT_MESSAGES(differs("_color", "Color"), differs("_texCoord", "TexCoord"),
                    differs("_normal", "Normal"));
}
