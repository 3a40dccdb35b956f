// The table chooser's two node pictures, drawn in code: picture 1 a stack of
// disks for a data set, picture 2 a grid for a table. 16 by 16 pixels, 32-bit
// with an alpha channel and a mask, so they look right with and without the
// alpha-aware common controls.
#pragma once

#include <windows.h>

#include <commctrl.h>

namespace mervane::win {

// RAII for an image list.
class ImageList {
 public:
  ImageList() = default;
  explicit ImageList(HIMAGELIST list) : list_(list) {}
  ~ImageList() { reset(); }
  ImageList(ImageList&& other) noexcept : list_(other.list_) { other.list_ = nullptr; }
  ImageList& operator=(ImageList&& other) noexcept {
    if (this != &other) {
      reset();
      list_ = other.list_;
      other.list_ = nullptr;
    }
    return *this;
  }
  ImageList(const ImageList&) = delete;
  ImageList& operator=(const ImageList&) = delete;
  HIMAGELIST get() const { return list_; }
  void reset() {
    if (list_) ImageList_Destroy(list_);
    list_ = nullptr;
  }

 private:
  HIMAGELIST list_ = nullptr;
};

// A list of the two pictures (indices 0 and 1); empty when it cannot be made.
ImageList createNodePictures();

}  // namespace mervane::win
