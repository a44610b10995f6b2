#include "actions/images/imaging_module.h"

extern "C" __attribute__((visibility("default"))) const brivant::imaging::EntryPoints*
BrivantImagingEntryPoints() {
  using namespace brivant::imaging;
  static constexpr EntryPoints kEntryPoints{&LoadVipsPicture, &TransformJpeg, &ReadJpegOrientation,
                                            &WithJpegOrientation};
  return &kEntryPoints;
}
