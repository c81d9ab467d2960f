#include "ConEdge.h"

#include "CPatch.h"
#include "helpers/captured.h"
#include "helpers/codeMesh.h"
#include "helpers/smallMeshes.h"
#include "zan_export.h"

#include <gtest/gtest.h>

using namespace TESK_ZAN;
using namespace zan_test;

namespace
{

// One patch with some triangles of a mesh.
struct PatchOf {
    PatchOf(CodeMesh& m, const std::vector<int>& vMembers) : patch(&m.mesh, 0)
    {
        for (const int i : vMembers)
            patch.addMember(m.vCT[size_t(i)]);
    }

    CPatch patch;
};

} // namespace

TEST(ConEdge, FlatContinuationIsZeroWhateverTheOrientation)
{
    CodeMesh m(strip(1));
    PatchOf p(m, {0, 1});
    for (int turn = 0; turn < 2; ++turn) {
        const ConEdge conEdge(&m.mesh, m.edge(1, 2), &p.patch);
        EXPECT_EQ(conEdge.deg, 2);
        EXPECT_NEAR(conEdge.angle, 0.0, 1e-9);
        EXPECT_TRUE(conEdge.bSameSide);
        m.vCT[1]->flipOrientation();
    }
}

TEST(ConEdge, FoldOfAFlatPocketComesBeforeASteepOne)
{
    for (const bool bTurned : {false, true}) {
        CodeMesh flat(pocket(6, 0.1, -0.1, 1)), steep(pocket(6, 2, -2, 1));
        if (bTurned) {
            flat.vCT[6]->flipOrientation();
            steep.vCT[0]->flipOrientation();
        }
        std::vector<int> vMembers;
        for (int i = 0; i < 12; ++i)
            vMembers.push_back(i);
        PatchOf pFlat(flat, vMembers), pSteep(steep, vMembers);
        const ConEdge sharp(&flat.mesh, flat.edge(0, 1), &pFlat.patch);
        const ConEdge blunt(&steep.mesh, steep.edge(0, 1), &pSteep.patch);
        EXPECT_EQ(sharp.deg, 3);
        EXPECT_FALSE(sharp.bSameSide);
        EXPECT_EQ(sharp.vMemT.size(), 2u); // without the fin
        EXPECT_LT(sharp.angle, 20.0);
        EXPECT_GT(blunt.angle, 90.0);
    }
}

TEST(ConEdge, TriangleWithoutNormalCountsAsHalfway)
{
    IndexedMesh drawing = strip(1);
    drawing.vPoints[3] = drawing.vPoints[1];
    drawing.vPoints[3].set(drawing.vPoints[1].x() + drawing.vPoints[2].x(),
                           drawing.vPoints[1].y() + drawing.vPoints[2].y(), 0);
    CodeMesh m(drawing);
    PatchOf p(m, {0, 1});
    *m.mesh.getVtx(m.at(3)) = *m.mesh.getVtx(m.at(1));
    EXPECT_EQ(ConEdge(&m.mesh, m.edge(1, 2), &p.patch).angle, 90.0);
}

TEST(ConEdge, ThreeMembersComeLastAndTooFewFail)
{
    CapturedMessages captured;
    CodeMesh m(threeOnAnEdge());
    {
        PatchOf all(m, {0, 1, 2});
        const ConEdge conEdge(&m.mesh, m.edge(0, 1), &all.patch);
        EXPECT_EQ(conEdge.angle, 181.0);
        EXPECT_TRUE(conEdge.bSameSide);
        EXPECT_EQ(conEdge.vMemT.size(), 3u);
        EXPECT_THROW(ConEdge(&m.mesh, m.edge(0, 2), &all.patch), ZanBugException);
    }
    PatchOf one(m, {0});
    EXPECT_THROW(ConEdge(&m.mesh, m.edge(0, 1), &one.patch), ZanBugException);
    EXPECT_TRUE(captured.has("deg>1"));
    EXPECT_TRUE(captured.has("vMemT.size()>=2"));
}
