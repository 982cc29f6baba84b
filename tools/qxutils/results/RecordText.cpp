#include "results/RecordText.h"

#include "text/ComparedNumbers.h"
#include "text/TextTable.h"

namespace qx::tool {

std::string quantityOf(const Record& record, std::size_t index) {
    const Measure& measure = record.measures[index];
    const auto& before = index == 0 ? std::nullopt : record.measures[index - 1].limit;
    const bool isAlternative = before && measure.limit && before->requirement == measure.limit->requirement;
    const bool tellsUnit = measure.unit.empty() || measure.name.starts_with(measure.unit);
    return (isAlternative ? "or " : "") + measure.name + (tellsUnit ? "" : ", " + measure.unit);
}

std::string valueText(const Measure& measure) {
    return measure.limit ? textBeside(measure.value, measure.limit->value, measure.decimals)
                         : formatNumber(measure.value, measure.decimals);
}

TextColour colourOf(Verdict verdict) {
    if (verdict == Verdict::Measured)
        return TextColour::Plain;
    return verdict == Verdict::Passed ? TextColour::Green : TextColour::Red;
}

Measure measureOf(const CheckMeasure& taken, int decimals) {
    return {taken.name, plainNumber(taken.value), taken.unit, decimals,
            Limit{static_cast<MeasureComparison>(taken.comparison), plainNumber(taken.limit), taken.requirement,
                  taken.met != 0}};
}

}  // namespace qx::tool
