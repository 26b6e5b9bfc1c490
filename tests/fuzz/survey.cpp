// The reader of survey files against hostile texts: what it accepts can be shown, and be written
// and read again.
#include <cstdint>
#include <sstream>
#include <stdexcept>
#include <string>

#include "survey/record.h"
#include "survey/show.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    survey::Survey survey;
    try {
        survey = survey::parseSurvey(std::string(data, data + size));
    } catch (const std::runtime_error&) {
        return 0;  // refused, with a reason
    }
    std::ostringstream shown;
    for (const survey::Session& session : survey.sessions)
        survey::show(shown, survey, session);
    const std::string text = textOf(survey);
    if (textOf(survey::parseSurvey(text)) != text)
        __builtin_trap();
    return 0;
}
