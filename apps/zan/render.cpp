// zan render: a picture of a mesh or a cloud.
#include "CommandError.h"
#include "Job.h"
#include "Picture.h"
#include "View.h"
#include "commands.h"
#include "meshFigures.h"
#include "namedFiles.h"
#include "pngFile.h"
#include "runOptions.h"

#include <zan/zan_api_functions.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <memory>

using namespace TESK_ZAN;

namespace
{

constexpr Rgb FRONT{0.70f, 0.78f, 0.88f}, BACK{0.93f, 0.72f, 0.55f};
constexpr Rgb BORDER{0.85f, 0.10f, 0.10f}, NON_MANIFOLD{0.75f, 0.0f, 0.75f}, EDGE{0.25f, 0.28f, 0.32f};
constexpr double HAIR = 0.3, STROKE = 0.9; // half the widths of lines, in pixels
constexpr int DEFAULT_SIZE = 800, MIN_SIZE = 16, MAX_SIZE = 8192;

struct Options {
    std::string in;
    std::string beside; // a second file at the right; empty: none
    std::string out;
    int colorColumn = 0; // none
    std::vector<double> vView{30.0, 20.0};
    std::string up = "z";
    int size = DEFAULT_SIZE;
    bool bEdges = false;
    bool bSmall = false;
    RunOptions run;
};

struct Scene {
    bool bTriangles = false;
    std::vector<Point3> vPoints; // three a triangle, or a cloud
};

// Turns the scene so that the axis stands upright, which z does by itself.
void raise(const std::string& up, std::vector<Point3>& vPoints)
{
    for (Point3& p : vPoints) {
        if (up == "y")
            p.set(p.x(), -p.z(), p.y());
        else if (up == "x")
            p.set(p.y(), p.z(), p.x());
    }
}

Scene readScene(const std::string& name, const Options& options)
{
    Scene scene;
    scene.bTriangles = name != SAMPLE_NAME && holdsTriangles(name);
    scene.vPoints = scene.bTriangles ? readSoup(name) : readCloud(name, options.colorColumn);
    raise(options.up, scene.vPoints);
    return scene;
}

Rgb lit(Rgb color, double light)
{
    const auto shade = [light](float channel) { return float(std::min(1.0, channel * light)); };
    return {shade(color.r), shade(color.g), shade(color.b)};
}

Rgb colorOf(const Point3& p, Rgb without)
{
    if (!p.hasColor())
        return without;
    Rgb color;
    float alpha = 0.0f;
    p.getColor_1(color.r, color.g, color.b, alpha);
    return color;
}

// How bright a surface is whose normal points this way: a lamp at the upper left and one at the eye.
double lightOn(const Vector3& nnv)
{
    const double lamp = -0.45 * nnv.x() + 0.55 * nnv.y() + 0.70 * nnv.z();
    return 0.38 + 0.42 * std::max(0.0, lamp) + 0.28 * std::max(0.0, nnv.z());
}

void drawTriangles(const std::vector<Point3>& vCorners, const View& view, Picture& picture)
{
    for (std::size_t i = 0; i + 3 <= vCorners.size(); i += 3) {
        const Point3* const p = &vCorners[i];
        if (!p[0].isFinite() || !p[1].isFinite() || !p[2].isFinite())
            continue;
        const Vector3 normal = crossProd(p[1] - p[0], p[2] - p[0]);
        const double length = normal.length();
        if (!(length > 0.0))
            continue;
        Vector3 nnv = view.turned(normal * (1.0 / length));
        const bool bFront = nnv.z() >= 0.0;
        if (!bFront)
            nnv = nnv * -1.0;
        const Rgb base = bFront ? FRONT : BACK;
        const double light = lightOn(nnv);
        picture.triangle({view.spotOf(p[0]), view.spotOf(p[1]), view.spotOf(p[2])},
                         {lit(colorOf(p[0], base), light), lit(colorOf(p[1], base), light),
                          lit(colorOf(p[2], base), light)});
    }
}

// Borders and edges of more than two triangles always, the others if asked for.
void drawEdges(const std::vector<Point3>& vCorners, bool bAll, const View& view, Picture& picture)
{
    constexpr double LIFT = 0.004; // of the depth of the scene
    const double lift = LIFT * (view.nearest() - view.farthest());
    for (const MeshEdge& edge : edgesOf(vCorners, bAll)) {
        const bool bRegular = edge.degree == 2;
        const Rgb color = bRegular ? EDGE : edge.degree == 1 ? BORDER : NON_MANIFOLD;
        picture.line(view.spotOf(edge.from), view.spotOf(edge.to), bRegular ? HAIR : STROKE,
                     bRegular ? 0.5 * lift : lift, color);
    }
}

// Near ones dark, far ones pale: without surface nothing else tells depth.
void drawDots(const std::vector<Point3>& vPoints, int size, const View& view, Picture& picture)
{
    const double radius = std::clamp(0.45 * size / std::sqrt(double(vPoints.size())), 0.3, 4.0);
    const double depth = std::max(view.nearest() - view.farthest(), 1e-300);
    for (const Point3& p : vPoints) {
        if (!p.isFinite())
            continue;
        const Spot spot = view.spotOf(p);
        const auto fog = float(0.75 * (1.0 - std::clamp(spot.depth / depth, 0.0, 1.0)));
        const Rgb color = colorOf(p, {0.10f, 0.20f, 0.40f});
        const auto pale = [fog](float channel) { return channel + fog * (1.0f - channel); };
        picture.dot(spot, radius, {pale(color.r), pale(color.g), pale(color.b)});
    }
}

void run(const Options& options)
{
    if (!options.out.ends_with(".png") && !options.out.ends_with(".PNG"))
        throw CommandError(ExitCode::Usage, "'" + options.out + "' must end in .png.");
    Job job(options.run, "render", options.out);
    job.report().addJson("input", options.in);
    job.begin("reading", Job::Steps::None);
    std::vector<Scene> vScenes{readScene(options.in, options)};
    if (!options.beside.empty())
        vScenes.push_back(readScene(options.beside, options));

    job.begin("drawing", Job::Steps::None);
    View view(options.vView[0], options.vView[1]);
    for (const Scene& scene : vScenes)
        view.include(scene.vPoints);
    if (!view.isUsable())
        throw CommandError(ExitCode::NothingCameOut, "'" + options.in + "' has no extent to look at.");
    const int panel = options.size;
    Picture picture(panel * int(vScenes.size()), panel * 3 / 4);
    for (std::size_t i = 0; i < vScenes.size(); ++i) {
        const Scene& scene = vScenes[i];
        view.fit(panel * int(i), panel, picture.height());
        if (scene.bTriangles) {
            drawTriangles(scene.vPoints, view, picture);
            drawEdges(scene.vPoints, options.bEdges, view, picture);
        } else {
            drawDots(scene.vPoints, panel, view, picture);
        }
        job.report().add(i == 0 ? "drawn" : "beside it",
                         std::to_string(scene.bTriangles ? scene.vPoints.size() / 3 : scene.vPoints.size()) +
                             (scene.bTriangles ? " triangles" : " points"));
    }

    job.begin("writing", Job::Steps::None);
    writePng(job.workName(), picture.width(), picture.height(), picture.bytes(), options.bSmall);
    job.commit();
    job.finish();
}

} // namespace

void addRender(CLI::App& program)
{
    const auto pOptions = std::make_shared<Options>();
    CLI::App* pCommand = program.add_subcommand("render", "Draw a picture of a mesh or a cloud");
    pCommand
        ->add_option("IN", pOptions->in,
                     "Points: .ply, .xyz, .txt, .asc, .bin. Triangles: .ply, .stl, .obj; " + SAMPLE_NAME +
                         " is the built-in sample")
        ->required();
    pCommand->add_option("OUT", pOptions->out, "Picture: .png")->required();
    pCommand->add_option("--beside", pOptions->beside, "A second file at the right of it, in the same view")
        ->type_name("FILE");
    pCommand
        ->add_option("--view", pOptions->vView,
                     "From where, in degrees: round the upright axis, and above the horizon [30,20]")
        ->delimiter(',')
        ->expected(2)
        ->type_name("AZIMUTH,ELEVATION")
        ->check(isFiniteNumber);
    pCommand->add_option("--up", pOptions->up, "The axis that stands upright: x, y or z")
        ->type_name("AXIS")
        ->check(CLI::IsMember({"x", "y", "z"}))
        ->capture_default_str();
    pCommand
        ->add_option("--size", pOptions->size, "Width of a picture in pixels; it is three quarters as high")
        ->type_name("N")
        ->check(CLI::Range(MIN_SIZE, MAX_SIZE))
        ->capture_default_str();
    pCommand->add_flag("--edges", pOptions->bEdges, "Draw all edges of triangles");
    pCommand->add_flag("--small", pOptions->bSmall, "At most 256 colours: a third of the bytes");
    addColorColumn(*pCommand, pOptions->colorColumn);
    addOverwrite(*pCommand, pOptions->run);
    addRunOptions(*pCommand, pOptions->run);
    pCommand->footer(
        "Border edges are red, edges of more than two triangles purple. Triangles are blue from\n"
        "their front and orange from behind, unless they have colours. Points are darker the\n"
        "nearer they are.\n"
        "Examples:\n"
        "  zan render mesh.ply mesh.png\n"
        "  zan render mesh.ply mesh.png --edges --view 120,35\n"
        "  zan render scan.ply both.png --beside mesh.ply");
    pCommand->callback([pOptions] { run(*pOptions); });
}
