// The version record. The compiler's date and time macros follow SOURCE_DATE_EPOCH, so that a
// reproducible build has a reproducible record.
#include "frame/operations/version_record.hpp"

namespace ovrelin {
namespace {

struct BuildDate {
    int year, month, day;
};

constexpr int twoDigits(const char* text) {
    return (text[0] == ' ' ? 0 : text[0] - '0') * 10 + (text[1] - '0');
}

constexpr int monthNumber(const char* name) {
    constexpr char names[] = "JanFebMarAprMayJunJulAugSepOctNovDec";
    for (int month = 0; month < 12; ++month) {
        const char* candidate = names + 3 * month;
        if (candidate[0] == name[0] && candidate[1] == name[1] && candidate[2] == name[2])
            return month + 1;
    }
    return 0;
}

// __DATE__ is "Mmm dd yyyy"
constexpr BuildDate parseDate(const char* date) {
    return {twoDigits(date + 7) * 100 + twoDigits(date + 9), monthNumber(date),
            twoDigits(date + 4)};
}

// Days from 1970-01-01 in the Gregorian calendar, with years that begin in March so that the leap
// day is the last of its year.
constexpr std::int64_t daysSinceEpoch(BuildDate date) {
    const std::int64_t year = date.month > 2 ? date.year : date.year - 1;
    const std::int64_t month = date.month > 2 ? date.month - 3 : date.month + 9;
    const std::int64_t dayOfYear = (153 * month + 2) / 5 + date.day - 1;
    return year * 365 + year / 4 - year / 100 + year / 400 + dayOfYear - 719468;
}

constexpr BuildDate buildDate = parseDate(__DATE__);
static_assert(daysSinceEpoch({1970, 1, 1}) == 0 && daysSinceEpoch({2000, 3, 1}) == 11017);

// __TIME__ is "hh:mm:ss"
constexpr int secondOfDay(const char* time) {
    return twoDigits(time) * 3600 + twoDigits(time + 3) * 60 + twoDigits(time + 6);
}

constexpr std::int64_t buildSeconds = daysSinceEpoch(buildDate) * 86400 + secondOfDay(__TIME__);

constexpr char releasePrefix[] = "1.0 M0 ";

struct ReleaseText {
    char text[sizeof releasePrefix + 8];
};

constexpr ReleaseText makeReleaseText() {
    ReleaseText release{};
    int at = 0;
    for (const char* c = releasePrefix; *c != '\0'; ++c) release.text[at++] = *c;
    const int number = buildDate.year * 10000 + buildDate.month * 100 + buildDate.day;
    for (int divisor = 10000000; divisor > 0; divisor /= 10)
        release.text[at++] = static_cast<char>('0' + number / divisor % 10);
    return release;
}

// A keyed field: the key, then blanks up to its fixed width. A later step of the build may stamp a
// value behind the '=' of the file in place, hence the width.
constexpr int keyedWidth = 65;

struct KeyedField {
    char text[keyedWidth + 1];
};

constexpr KeyedField makeKeyedField(const char* key) {
    KeyedField field{};
    int at = 0;
    for (; key[at] != '\0'; ++at) field.text[at] = key[at];
    for (; at < keyedWidth; ++at) field.text[at] = ' ';
    return field;
}

constexpr ReleaseText releaseText = makeReleaseText();
constexpr KeyedField hotfixField = makeKeyedField("VEL_VERSION_HOTFIX_NUMBER=");
constexpr KeyedField imageField = makeKeyedField("VERCON_IMAGE_DESCRIPTION=");

std::uint64_t word(const char* text) {
    return reinterpret_cast<std::uintptr_t>(text);
}

}  // namespace

void fillVersionRecord(std::uint64_t record[OVRELIN_VERSION_WORDS]) {
    const std::uint64_t words[16] = {word(releaseText.text),
                                     word("src include"),
                                     word(""),
                                     static_cast<std::uint64_t>(buildSeconds),
                                     word("ovormp"),
                                     word("ovrelin"),
                                     word("ovormp"),
                                     word("build"),
                                     word(""),
                                     word("version"),
                                     word("::"),
                                     word(""),
                                     word(hotfixField.text),
                                     word(""),
                                     word(imageField.text),
                                     word("wx6no")};
    for (int i = 0; i < OVRELIN_VERSION_WORDS; ++i) record[i] = i < 16 ? words[i] : 0;
}

}  // namespace ovrelin
