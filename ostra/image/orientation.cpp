#include "ostra/image/orientation.h"

namespace ostra {

Result<Image> TurnUpright(Image image, Int orientation) {
  image.description.orientation = orientation;
  if (orientation < 2 || orientation > 8) return image;
  // What is stored as a row is a column.
  const Bool isTransposed = orientation >= 5;
  const Bool isMirrored = orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
  const Bool isFlipped = orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
  const Int width = image.width, height = image.height;
  OSTRA_ASSIGN_OR_RETURN(Image upright, Image::Create(isTransposed ? height : width, isTransposed ? width : height));
  upright.description = image.description;
  const Float32* source = image.rgba.GetFirst();
  Float32* target = upright.rgba.GetFirst();
  for (Int y = 0; y < upright.height; ++y)
    for (Int x = 0; x < upright.width; ++x, target += 4) {
      const Int column = isTransposed ? y : x, row = isTransposed ? x : y;
      const Int stored = (isFlipped ? height - 1 - row : row) * width + (isMirrored ? width - 1 - column : column);
      MemCopy(target, source + 4 * stored, 4 * Int(sizeof(Float32)));
    }
  return upright;
}

}  // namespace ostra
