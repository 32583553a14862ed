/// docs/doctor.md explains every sentence of `solvane doctor`.
#include <algorithm>
#include <fstream>
#include <map>
#include <set>
#include <string>

#include "diagnosis.h"
#include "symptoms.h"

namespace host {
namespace {

using testing::HasSubstr;

/// What follows each heading of a sentence, with single blanks for line breaks.
std::map<std::string, std::string> Sections() {
    std::ifstream document(DOCTOR_DOCUMENT);
    std::map<std::string, std::string> sections;
    std::string* section = nullptr;
    for (std::string line; std::getline(document, line);) {
        if (line.starts_with("### ")) {
            section = &sections[line.substr(4)];
        } else if (section != nullptr) {
            line.erase(0, line.find_first_not_of(' '));
            *section += line + ' ';
        }
    }
    return sections;
}

std::string Heading(std::string_view sentence) {
    std::string heading(sentence);
    std::ranges::replace(heading, '%', 'N');
    return heading;
}

TEST(DoctorDocument, HasEachSentenceWithItsLogAndAdvice) {
    const std::map<std::string, std::string> sections = Sections();
    std::set<std::string> headings;
    const auto look = [&](const Symptom& symptom) {
        const std::string heading = Heading(symptom.found);
        headings.insert(heading);
        ASSERT_TRUE(sections.contains(heading)) << heading;
        const std::string& text = sections.at(heading);
        EXPECT_THAT(text, HasSubstr('`' + std::string(symptom.words) + '`')) << heading;
        EXPECT_THAT(text, HasSubstr("**" + std::string(symptom.advice) + "**")) << heading;
    };
    for (const KindSymptoms& kind : Symptoms()) {
        std::ranges::for_each(kind.whenRefused, look);
        for (const Symptom& symptom : kind.whenServing) {
            const std::string& text = sections.at(Heading(symptom.found));
            EXPECT_THAT(text, HasSubstr('`' + std::string(symptom.words) + '`'));
            EXPECT_THAT(text, HasSubstr("**" + std::string(symptom.advice) + "**"));
        }
    }
    look(kPortWithoutRange);
    EXPECT_EQ(headings.size(), 35U);
    EXPECT_EQ(sections.size(), headings.size() + 6) << "six do not come from a text of one kind";
}

TEST(DoctorDocument, AnchorsAreThoseOfTheHeadings) {
    EXPECT_EQ(PageOf("No FTDI chip is connected."), "docs/doctor.md#no-ftdi-chip-is-connected");
    EXPECT_EQ(PageOf("FTDI's driver cannot list its devices (D2XX status %)."),
              "docs/doctor.md#ftdis-driver-cannot-list-its-devices-d2xx-status-n");
    EXPECT_EQ(PageOf("The port-I/O driver (InpOut) is not open, so the chip cannot be asked."),
              "docs/doctor.md#the-port-io-driver-inpout-is-not-open-so-the-chip-cannot-be-asked");
}

} // namespace
} // namespace host
