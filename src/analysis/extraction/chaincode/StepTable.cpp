#include "analysis/extraction/chaincode/StepTable.h"

#include "analysis/extraction/chaincode/PixelGrid.h"

namespace tarvik::analysis::extraction::chaincode {

void StepTable::setWidth(int width)
{
    if (static_cast<std::size_t>(width) / 8 == _bytesPerRow) {
        return;
    }
    _bytesPerRow = static_cast<std::size_t>(width) / 8;
    for (std::size_t i = 0; i < _steps.size(); ++i) {
        const std::size_t neighbourhood = i / 8;
        Step step{0, 8, 0};
        for (std::size_t k = 8; k-- > 0;) { // the first in order is found last
            const std::size_t code = (i + k) % 8;
            const int bit = 4 + PixelGrid::DX[code] + 3 * PixelGrid::DY[code];
            if ((neighbourhood >> bit & 1U) != 0) {
                step = {
                    static_cast<std::int16_t>(PixelGrid::DX[code] + width * PixelGrid::DY[code]),
                    static_cast<std::uint8_t>(code), static_cast<std::uint8_t>((code + 6) % 8)};
            }
        }
        _steps[i] = step;
    }
}

} // namespace tarvik::analysis::extraction::chaincode
