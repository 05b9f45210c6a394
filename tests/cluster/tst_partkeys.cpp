// Parts belong together only if everything that decides about their frames is equal.

#include "app/cli/options/optiontable.h"
#include "tests/cluster/partfixture.h"

#include <QSet>

using namespace cli;

namespace {

/// An option, arguments without it, and arguments with it or with another value.
struct OptionRow
{
    const char* option;
    const char* before;
    const char* after;
};

const OptionRow Rows[] = {
    {"view", "--turntable 8", "--turntable 8 --view left"},
    {"camera", "--animation lift", "--animation lift --camera overview"},
    {"azimuth", "--turntable 8", "--turntable 8 --azimuth 5"},
    {"elevation", "--turntable 8", "--turntable 8 --elevation 5"},
    {"roll", "--turntable 8", "--turntable 8 --roll 5"},
    {"zoom", "--turntable 8", "--turntable 8 --zoom 1.5"},
    {"position", "--turntable 8 --position 3,4,5", "--turntable 8 --position 3,4,6"},
    {"target", "--turntable 8 --position 3,4,5", "--turntable 8 --position 3,4,5 --target 0,1,0"},
    {"up", "--turntable 8 --position 3,4,5", "--turntable 8 --position 3,4,5 --up 1,0,0"},
    {"fov", "--turntable 8", "--turntable 8 --fov 30"},
    {"orthographic", "--turntable 8", "--turntable 8 --orthographic"},
    {"transform", "--turntable 8 --transform '1 0 0 0 0 1 0 0 0 0 1 -5 0 0 0 1'",
     "--turntable 8 --transform '1 0 0 0 0 1 0 0 0 0 1 -6 0 0 0 1'"},
    {"like", "--turntable 8 --like front.png", "--turntable 8 --like left.png"},
    {"model-up", "--turntable 8", "--turntable 8 --model-up +Z"},
    {"light", "--turntable 8 --light dark.hdr", "--turntable 8 --light bright.hdr"},
    {"light", "--turntable 8", "--turntable 8 --light none"},
    {"show", "--turntable 8", "--turntable 8 --show edges"},
    {"exposure", "--turntable 8", "--turntable 8 --exposure 2"},
    {"color", "--turntable 8", "--turntable 8 --color red"},
    {"opacity", "--turntable 8", "--turntable 8 --opacity base=0.5"},
    {"flat", "--turntable 8", "--turntable 8 --flat"},
    {"feature-edges", "--turntable 8", "--turntable 8 --feature-edges"},
    {"point-size", "--turntable 8", "--turntable 8 --point-size 2"},
    {"line-width", "--turntable 8", "--turntable 8 --line-width 2"},
    {"background", "--turntable 8", "--turntable 8 --background red"},
    {"samples", "--turntable 8", "--turntable 8 --samples 2"},
    {"size", "--turntable 8 --size 160x120", "--turntable 8 --size 160x122"},
    {"turntable", "--turntable 8", "--turntable 9"},
    {"trajectory", "--trajectory a.csv", "--trajectory b.csv"},
    {"path", "--path a.json", "--path b.json"},
    {"animation", "--turntable 8", "--turntable 8 --animation lift"},
    {"duration", "--turntable --duration 2", "--turntable --duration 3"},
    {"repeat", "--animation lift --duration 8", "--animation lift --duration 8 --repeat"},
    {"every-position", "--trajectory a.csv", "--trajectory a.csv --every-position"},
    {"turns", "--turntable 8", "--turntable 8 --turns 2"},
    {"swing", "--turntable 8", "--turntable 8 --swing 30"},
    {"axis", "--turntable 8", "--turntable 8 --axis x"},
    {"ease", "--turntable 8", "--turntable 8 --ease"},
    {"fps", "--turntable 8 --fps 20", "--turntable 8 --fps 21"},
    {"bitrate", "--turntable 8 --bitrate 500", "--turntable 8 --bitrate 501"},
    {"parts", "--turntable 8", "--turntable 8 --parts 5"},
    {"output", "--turntable 8 -o film.mkv", "--turntable 8 -o film.mov"},
};

/// Options that change neither a frame nor how it is stored.
const char* const Neutral[] = {
    "save-scene", "format",   "no-clobber", "skip-existing", "free", "part",  "keep-parts", "status", "each",   "jobs",
    "max-memory", "settings", "safe-mode",  "strict",        "json", "quiet", "verbose",    "help",   "version"};

class PartKeys : public PartTest
{
protected:
    void SetUp() override
    {
        write("a.csv", "0,0,0\n1,0,0\n2,0,0\n3,0,0\n4,0,0\n");
        write("b.csv", "0,0,0\n1,0,0\n2,0,0\n3,0,0\n4,0,1\n");
        const QByteArray header = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 2 +X 4\n";
        write("dark.hdr", header + QByteArray(32, '\x70'));
        write("bright.hdr", header + QByteArray(32, '\x7f'));
        QFile tour(Samples + "tour.json");
        ASSERT_TRUE(tour.open(QIODevice::ReadOnly));
        const QByteArray text = tour.readAll();
        write("a.json", text);
        write("b.json", text + "\n");
    }
    /// The keys of the recordings with these arguments. Nothing is recorded.
    QStringList keysOf(const QStringList& lines, const QString& model = Arm)
    {
        QByteArray jobs;
        for (int i = 0; i < lines.size(); ++i)
            jobs += QStringLiteral("-o %1.mp4 %2\n").arg(QString::number(i), lines[i]).toUtf8();
        write("keys.txt", jobs);
        const Result result =
            runWell({"video", model, "--jobs", "keys.txt", "--parts", "4", "--status", "--json", "--size", "96x72"});
        QStringList keys;
        for (const QJsonObject& object : objects(result.out))
            if (object["event"] == QLatin1String("status"))
                keys << object["key"].toString();
        EXPECT_EQ(keys.size(), lines.size()) << result.err.toStdString();
        while (keys.size() < lines.size())
            keys << QString();
        return keys;
    }
};

} // namespace

TEST_F(PartKeys, EveryOptionThatChangesAFrameChangesTheKey)
{
    runWell({"image", Arm, "-o", "{view}.png", "--view", "front,left", "--size", "64x48"});
    QStringList lines;
    QSet<QString> covered;
    for (const OptionRow& row : Rows) {
        lines << QString::fromLatin1(row.before) << QString::fromLatin1(row.after);
        covered << QString::fromLatin1(row.option);
    }
    const QStringList keys = keysOf(lines);
    for (std::size_t i = 0; i < std::size(Rows); ++i) {
        EXPECT_EQ(keys[int(2 * i)].size(), 32);
        EXPECT_NE(keys[int(2 * i)], keys[int(2 * i + 1)]) << Rows[i].option;
    }
    // The settings of one recording do not leak into the next one.
    for (std::size_t i = 0; i < std::size(Rows); ++i)
        for (std::size_t k = 0; k < i; ++k)
            EXPECT_EQ(qstrcmp(Rows[i].before, Rows[k].before) == 0, keys[int(2 * i)] == keys[int(2 * k)])
                << Rows[i].before << " and " << Rows[k].before;
    for (const char* option : Neutral)
        covered << QString::fromLatin1(option);
    for (const tov::app::OptionSpec& option : tov::app::optionTable())
        if (tov::app::isOptionOf(option, QStringLiteral("video"))) {
            EXPECT_TRUE(covered.contains(QString::fromLatin1(option.name)))
                << "--" << option.name << ": add it to partKey, or to the options that change no frame";
        }
}

TEST_F(PartKeys, PlacesOfFilesAndEqualValuesDoNotChangeTheKey)
{
    QDir(folder.path()).mkdir("elsewhere");
    ASSERT_TRUE(QFile::copy(path("a.csv"), path("elsewhere/c.csv")));
    ASSERT_TRUE(QFile::copy(Arm, path("elsewhere/arm.gltf")));
    const QStringList keys = keysOf({"--turntable 8", "--turntable 8 --view front --light studio --samples 4 --fps 25",
                                     "--trajectory a.csv", "--trajectory elsewhere/c.csv"});
    EXPECT_EQ(keys[0], keys[1]);
    EXPECT_EQ(keys[2], keys[3]);
    EXPECT_EQ(keysOf({"--turntable 8"}, "elsewhere/arm.gltf").first(), keys[0]);
}

TEST_F(PartKeys, EveryPartOfAModelChangesTheKey)
{
    QFile gltf(Arm);
    ASSERT_TRUE(gltf.open(QIODevice::ReadOnly));
    const QJsonObject model = QJsonDocument::fromJson(gltf.readAll()).object();
    QJsonDocument::JsonFormat format = QJsonDocument::Indented;
    const auto keyOf = [&](const std::function<void(QJsonObject&)>& change) {
        QJsonObject changed = model;
        change(changed);
        write("arm.gltf", QJsonDocument(changed).toJson(format));
        return keysOf({"--turntable 8"}, "arm.gltf").first();
    };
    const auto inFirst = [](const char* list, const char* key, const QJsonValue& value) {
        return [=](QJsonObject& object) {
            QJsonArray items = object[QLatin1String(list)].toArray();
            QJsonObject item = items[0].toObject();
            item[QLatin1String(key)] = value;
            items[0] = item;
            object[QLatin1String(list)] = items;
        };
    };
    QSet<QString> keys{keyOf([](QJsonObject&) {})};
    format = QJsonDocument::Compact;
    EXPECT_TRUE(keys.contains(keyOf([](QJsonObject&) {}))) << "the same content, written in another way";
    const std::pair<const char*, std::function<void(QJsonObject&)>> changes[] = {
        {"transform", inFirst("nodes", "translation", QJsonArray{0.0, 0.001, 0.0})},
        {"node name", inFirst("nodes", "name", "renamed")},
        {"material", inFirst("materials", "pbrMetallicRoughness", QJsonObject{{"roughnessFactor", 0.123}})},
        {"double-sided", inFirst("materials", "doubleSided", true)},
        {"camera", inFirst("cameras", "perspective", QJsonObject{{"yfov", 0.71}, {"znear", 0.1}, {"zfar", 100}})},
        {"animation", inFirst("animations", "name", "raise")},
    };
    for (const auto& [what, change] : changes) {
        const int count = keys.size();
        keys << keyOf(change);
        EXPECT_EQ(keys.size(), count + 1) << what;
    }
    // Textures by content: one pixel of a picture next to the model.
    const char* const obj =
        "mtllib t.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nvt 1 0\nvt 0 1\nusemtl m\nf 1/1 2/2 3/3\n";
    write("t.obj", obj);
    write("t.mtl", "newmtl m\nmap_Kd t.png\n");
    QImage picture(4, 4, QImage::Format_RGB32);
    picture.fill(Qt::gray);
    ASSERT_TRUE(picture.save(path("t.png")));
    const QString before = keysOf({"--turntable 8"}, "t.obj").first();
    picture.setPixel(1, 1, qRgb(129, 128, 128));
    ASSERT_TRUE(picture.save(path("t.png")));
    EXPECT_NE(keysOf({"--turntable 8"}, "t.obj").first(), before);
}

TEST_F(PartKeys, SettingsThatChangeAFrameChangeTheKey)
{
    const QString before = keysOf({"--turntable 8"}).first();
    for (const auto& [key, value] :
         std::initializer_list<std::pair<const char*, const char*>>{{"settings/background", "#102030"},
                                                                    {"settings/multisampling", "2"},
                                                                    {"settings/grabvideofps", "30"},
                                                                    {"settings/grabvideokbps", "5000"}}) {
        QFile::remove(path("settings.ini"));
        QSettings(path("settings.ini"), QSettings::IniFormat).setValue(QLatin1String(key), QLatin1String(value));
        EXPECT_NE(keysOf({"--turntable 8"}).first(), before) << key;
    }
    QFile::remove(path("settings.ini"));
    QSettings(path("settings.ini"), QSettings::IniFormat).setValue("settings/backloglimit", "100");
    EXPECT_EQ(keysOf({"--turntable 8"}).first(), before);
}
