#include "meshComponents.h"

#include "helpers/captured.h"
#include "helpers/codeMesh.h"
#include "helpers/smallMeshes.h"
#include "zan_export.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

using namespace TESK_ZAN;
using namespace zan_test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

std::vector<CEdge*> degN_CT(int deg, const std::vector<CTriangle*>& vCT)
{
    std::vector<CEdge*> vCE;
    getDegN_CT(deg, vCT, vCE);
    return vCE;
}

} // namespace

TEST(meshComponents, edges_that_share_a_vertex_belong_together)
{
    CodeMesh code(strip(4)); // vertices 2i below, 2i+1 above
    std::vector<std::vector<CEdge*>> vvCC;
    createCC({code.edge(8, 9), code.edge(0, 2), code.edge(4, 6), code.edge(2, 4)}, vvCC);
    ASSERT_EQ(vvCC.size(), 2u);
    EXPECT_THAT(vvCC[0], ElementsAre(code.edge(8, 9))); // by the first edge of the list
    EXPECT_THAT(vvCC[1], ElementsAre(code.edge(0, 2), code.edge(2, 4), code.edge(4, 6)));
}

TEST(meshComponents, border_of_a_box_is_one_component_and_nothing_gives_none)
{
    CodeMesh code(openBox());
    std::vector<CEdge*> vBorder;
    code.mesh.getDegN(1, vBorder);
    std::vector<std::vector<CEdge*>> vvCC;
    createCC(vBorder, vvCC);
    ASSERT_EQ(vvCC.size(), 1u);
    EXPECT_EQ(vvCC[0].size(), 4u);
    vvCC.clear();
    createCC({}, vvCC);
    EXPECT_TRUE(vvCC.empty());
}

TEST(meshComponents, edge_given_twice_is_a_failed_condition)
{
    CodeMesh code(tetrahedron());
    std::vector<std::vector<CEdge*>> vvCC;
    const CapturedMessages captured;
    EXPECT_THROW(createCC({code.edge(0, 1), code.edge(0, 1)}, vvCC), ZanBugException);
    EXPECT_TRUE(captured.has("num==vCE.size()"));
}

TEST(meshComponents, degrees_within_a_set_of_triangles_ignore_the_others_and_the_dead)
{
    CodeMesh code(threeOnAnEdge());
    EXPECT_THAT(degN_CT(-3, code.vCT), ElementsAre(code.edge(0, 1)));
    EXPECT_THAT(degN_CT(-4, code.vCT), IsEmpty());
    EXPECT_EQ(degN_CT(-1, code.vCT).size(), 7u);
    EXPECT_THAT(degN_CT(-2, {code.vCT[0], code.vCT[2]}), ElementsAre(code.edge(0, 1)));
    EXPECT_THAT(degN_CT(2, {code.vCT[0], code.vCT[2]}), ElementsAre(code.edge(0, 1)));
    code.vCT[1]->kill(&code.mesh);
    EXPECT_THAT(degN_CT(2, code.vCT), ElementsAre(code.edge(0, 1)));
    const std::vector<CEdge*> vOdd = degN_CT(-1, code.vCT);
    EXPECT_EQ(vOdd.size(), 4u);
    EXPECT_TRUE(std::is_sorted(vOdd.begin(), vOdd.end(),
                               [](const CEdge* a, const CEdge* b) { return lessByNumber(a, b); }));
}

TEST(meshComponents, even_degree_above_two_is_told_from_two)
{
    IndexedMesh drawing = threeOnAnEdge();
    drawing.vPoints.emplace_back(2, -2, 0);
    drawing.vTriangles.insert(drawing.vTriangles.end(), {0, 1, 5});
    CodeMesh code(drawing);
    EXPECT_THAT(degN_CT(-4, code.vCT), ElementsAre(code.edge(0, 1)));
    EXPECT_THAT(degN_CT(-4, {code.vCT[0], code.vCT[1]}), IsEmpty());
}
