#include "tools/sampledisk/catalogue.h"

#include <array>
#include <cstdio>

namespace quorvale {

namespace {

/// When a programme was broadcast: so many days ago, or on a day of last year's calendar.
struct Airing
{
    int daysAgo;
    int lastYearMonth; // 0: `daysAgo` counts
    int lastYearDay;
    int hour;
    int minute;
    int second;
};

constexpr Airing daysAgo(int days, int hour, int minute, int second = 0)
{
    return {days, 0, 0, hour, minute, second};
}

constexpr Airing lastYear(int month, int day, int hour, int minute, int second = 0)
{
    return {0, month, day, hour, minute, second};
}

constexpr int kNoPosition = -1; // the record has no marker

struct Programme
{
    RecordingKind kind;
    Airing airing;
    int playPosition; // in seconds of the whole programme, of which the stream is an excerpt
    const char *channel;
    const char *title;
    const char *description;
};

// Newest first. Today's programmes are early in the day: they must not be in the future when the disk is made.
const std::array<Programme, 12> kProgrammes{{
    {RecordingKind::HighDefinition, daysAgo(0, 0, 5), 2835, "Lakeside One HD", "The Lighthouse Keeper’s Atlas",
     "<b>Documentary, 2019.</b> For forty years Edda Marrow drew every rock and every current around her island. "
     "Now a storm has moved the coast, and her maps are the only record of how it was.<br><br>"
     "<i>Director:</i> Jonas Quill<br><i>Music:</i> The Saltmarsh Quartet"},
    {RecordingKind::Radio, daysAgo(0, 5, 30), kNoPosition, "Radio Halcyon", "Frühstück mit Käse und Küste",
     "Musik, Wetter und Seewetter für Frühaufsteher. Zu Gast: eine Käserin, die ihre Laibe im Leuchtturm reifen läßt."},
    {RecordingKind::StandardDefinition, daysAgo(1, 20, 15), 0, "Kanal Vierzehn", "Die Brücke über den Fluß",
     "Kriminalfilm. Kommissarin <b>Änne Vöhl</b> findet am Ufer einen Koffer voller Schlüssel &ndash; und keiner davon "
     "paßt in ein Schloß der Stadt.<br>Untertitel für Hörgeschädigte."},
    {RecordingKind::Hevc, daysAgo(1, 22, 40), 4325, "Meridian UHD", "Čaj o páté",
     "<p>Komedie. Malá čajovna na konci tramvajové linky, <i>příliš mnoho</i> hostů a jediná konvice.</p>"},
    {RecordingKind::ShortHighDefinition, daysAgo(2, 19, 58, 30), kNoPosition, "Lakeside One HD",
     "Weather for the Islands", "Wind, waves and visibility for the next two days."},
    {RecordingKind::Split, daysAgo(3, 20, 15), 5410, "Téléciel", "L’Opéra de verre",
     "<b>En direct.</b> Une verrière, trois ténors et un chœur d’enfants : la soirée d’ouverture du festival de "
     "Saint-Aubrac.<br><b>Acte I</b> 20 h 15<br><b>Acte II</b> 21 h 30<br><b>Acte III</b> 22 h 40"},
    {RecordingKind::Damaged, daysAgo(4, 18, 0), 61, "Fjordvision", "Storm over Ærøsund",
     "<b>Reportage.</b> The night the ferry stayed in port. <i>Reception was poor during this broadcast, too.</i>"},
    {RecordingKind::Missing, daysAgo(6, 21, 5), kNoPosition, "Téléciel", "Les Étés de Saint-Aubrac (4/6)",
     "Série. La pension ferme ses volets, mais <b>Hélène</b> n’a pas dit son dernier mot."},
    {RecordingKind::WideSamples, daysAgo(16, 16, 45), 742, "Kanal Vierzehn", "Gemüse & Gewürz: der Küchengarten",
     "Heute: <ul><li>Mangold für Ungeduldige</li><li>Was der Frost dem Grünkohl tut</li></ul>"},
    {RecordingKind::HighDefinition, daysAgo(45, 14, 20), kNoPosition, "Fjordvision HD", "Små båter på åpent hav",
     "Syv hjemmebygde båter, én regatta. <b>Sesongfinale.</b>"},
    {RecordingKind::StandardDefinition, lastYear(12, 24, 17, 30), 0, "Lakeside One", "A Lantern for Midwinter",
     "<i>Family film.</i> Two sisters carry a light through the snow to the last farm in the valley."},
    {RecordingKind::Radio, lastYear(6, 21, 23, 59, 58), 65535, "Radio Halcyon", "Ночь в саду: the long concert",
     "Eighteen hours of music for the shortest night, from the botanical garden. "
     "<a href=\"https://halcyon.example/garden\">Programme</a>"},
}};

Day dayOf(const Airing &airing, int episodesBack, const Day &today)
{
    if (airing.lastYearMonth == 0)
        return daysBefore(today, airing.daysAgo + 7 * episodesBack);
    return daysBefore({today.year - 1, airing.lastYearMonth, airing.lastYearDay}, 7 * episodesBack);
}

std::string fileNameOf(int number)
{
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "REC_%04d", number);
    return text.data();
}

} // namespace

std::vector<Recording> catalogue(int count, const Day &today)
{
    std::vector<Recording> recordings;
    const int builtIn = static_cast<int>(kProgrammes.size());
    for (int i = 0; i < count; ++i) {
        const Programme &programme = kProgrammes[static_cast<std::size_t>(i % builtIn)];
        const int repeat = i / builtIn;
        Recording recording;
        recording.kind = programme.kind;
        recording.look = static_cast<unsigned>(i);
        recording.source = i % builtIn;
        IndexRecord &record = recording.record;
        record.day = dayOf(programme.airing, repeat, today);
        record.hour = programme.airing.hour;
        record.minute = programme.airing.minute;
        record.second = programme.airing.second;
        record.fileName = fileNameOf(i + 1);
        record.channel = programme.channel;
        record.title = programme.title;
        if (repeat > 0)
            record.title += ", episode " + std::to_string(repeat + 1);
        record.description = programme.description;
        if (programme.playPosition != kNoPosition)
            record.playPosition = programme.playPosition;
        recordings.push_back(std::move(recording));
    }
    return recordings;
}

} // namespace quorvale
