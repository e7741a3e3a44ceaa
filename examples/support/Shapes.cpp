#include "Shapes.h"

#include <ZelGL/ZelGL.h>
#include <ZelKit/TriangleMesh.h>

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;

namespace {

std::unique_ptr<DrawBuffers> makeUnit(const TriangleMesh &mesh, int commands)
{
    TriangleMesh::Options options;
    options.commands = commands;
    return mesh.drawBuffers(options);
}

} // namespace

std::unique_ptr<DrawBuffers> makeCube(int commands)
{
    return makeUnit(TriangleMesh::box(), commands);
}

std::unique_ptr<DrawBuffers> makeSphere(int commands)
{
    return makeUnit(TriangleMesh::sphere(1.0f, 96), commands);
}
