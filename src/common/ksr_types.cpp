#include "ksr_types.h"

namespace KSR {

std::size_t splitString(const std::string& text, char delimiter, bool keepEmpty,
                        std::vector<std::string>& tokens)
{
    std::size_t appended = 0;
    std::size_t start = 0;
    while (true) {
        const std::size_t end = text.find(delimiter, start);
        const std::size_t stop = (end == std::string::npos) ? text.size() : end;
        if (keepEmpty || stop > start) {
            tokens.emplace_back(text, start, stop - start);
            ++appended;
        }
        if (end == std::string::npos)
            break;
        start = end + 1;
    }
    return appended;
}

const char* slotTypeName(SlotType type)
{
    switch (type) {
    case SlotType::Number:
        return "number";
    case SlotType::Digits:
        return "digits";
    case SlotType::List:
        return "list";
    case SlotType::Letters:
        return "letters";
    case SlotType::Text:
        return "text";
    }
    return "number";
}

}  // namespace KSR
