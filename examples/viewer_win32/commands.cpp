#include "commands.h"

namespace {

constexpr BYTE kCtrl = FCONTROL;

/// Keeps only the middle of the picture, half of it each way.
void CutOutMiddle(Document& d) {
  const LONG width = d.image.GetWidth() / 2, height = d.image.GetHeight() / 2;
  if (width == 0 || height == 0) return;
  const int bits = d.image.IsCanTrans2Gray() ? 24 : 8;
  std::vector<unsigned char> block((bits * static_cast<std::size_t>(width) + 31) / 32 * 4 *
                                   static_cast<std::size_t>(height));
  d.image.GetImgBlock(width / 2, height / 2, width, height, bits, block.data());
  d.image.SetExternalImageBits(block.data(), width, height, bits);
}

void BlackOutBorder(Document& d) {
  const LONG width = d.image.GetWidth(), height = d.image.GetHeight();
  d.image.ReserveImgBlock(width / 4, height / 4, width / 2, height / 2);
}

/// The row sums go to the trace.
void SumRows(Document& d) {
  std::vector<LONG> sums(static_cast<std::size_t>(d.image.GetHeight()));
  d.image.ImgProjectionHorizon(sums.data());
}

void ApplyTemplate(Document& d, double middle, double around) {
  double entries[9];
  for (double& entry : entries) entry = around;
  entries[4] = middle;
  d.image.ImgTemplateOperator(entries, 3);
}

void TellBrightShare(Document& d) {
  d.note = d.image.ImgGray_Exceed_Probability(180, 0.5) ? "more than half is above 180"
                                                        : "at most half is above 180";
}

void Reload(Document& d) { d.image.OpenImage(d.path.c_str()); }

}  // namespace

const std::vector<Command>& Commands() {
  static const std::vector<Command> commands = {
      {"&Picture", "&Reload", VK_F5, 0, Reload},
      {"&Picture", "&Gray", 'G', 0, [](Document& d) { d.image.RGBImg2Gray(); }},
      {"&Picture", "Turn &left", 'L', 0, [](Document& d) { d.image.RotateImage_Dir(1); }},
      {"&Picture", "Turn &right", 'R', 0, [](Document& d) { d.image.RotateImage_Dir(0); }},
      {"&Picture", "Half the si&ze", VK_NEXT, 0, [](Document& d) { d.image.Zoom_In(0.5); }},
      {"&Picture", "&Twice the size", VK_PRIOR, 0, [](Document& d) { d.image.Zoom_Out(1.0); }},
      {"&Picture", "&640 x 480", '6', 0, [](Document& d) { d.image.Zoom_Size(640, 480); }},
      {"&Picture", "&Cut out the middle", 'C', 0, CutOutMiddle},
      {"&Picture", "&Black out the border", 'B', 0, BlackOutBorder},
      {"&Picture", "Trace row &sums", 0, 0, SumRows},

      {"&Histogram", "Equalise, &lifted", 'E', 0,
       [](Document& d) { d.image.HistogramEqualization(); }},
      {"&Histogram", "Equalise, &all levels", 0, 0,
       [](Document& d) { d.image.HistogramEqualization1(); }},
      {"&Histogram", "Equalise in &three ranges", 0, 0,
       [](Document& d) { d.image.HistogramEqualization2(); }},
      {"&Histogram", "Equalise around the &graph cut", 0, 0,
       [](Document& d) { d.image.HistogramEqualization3(); }},
      {"&Histogram", "&Bright share", 0, 0, TellBrightShare},

      {"&Segment", "&Otsu", 'O', 0, [](Document& d) { d.image.Segment_Otsu(); }},
      {"&Segment", "&Graph cut", 0, 0, [](Document& d) { d.image.Segment_Graphcut(); }},
      {"&Segment", "&Local contrast", 'N', 0, [](Document& d) { d.image.Segment_NDHM(8); }},

      {"Fi&lter", "&Edges", 'K', 0, [](Document& d) { d.image.Img_Sobel(); }},
      {"Fi&lter", "&Sharpen", 0, 0, [](Document& d) { ApplyTemplate(d, 9, -1); }},
      {"Fi&lter", "So&ften", 0, 0, [](Document& d) { ApplyTemplate(d, 1.0 / 9, 1.0 / 9); }},
      {"Fi&lter", "&Two levels at 128", '2', 0,
       [](Document& d) { d.image.ImgTrans2_0_1(128, 1, 1); }},
      {"Fi&lter", "&Complement", 'I', 0, [](Document& d) { d.image.InverseGray(); }},
      {"Fi&lter", "Even the &light once", 0, 0, [](Document& d) { d.image.ImgAverageLight(0, 0); }},
      {"Fi&lter", "Even the light &repeatedly", 0, 0,
       [](Document& d) { d.image.ImgAverageLight(2, 0); }},
      {"Fi&lter", "Even the light &up to 200", 0, 0,
       [](Document& d) { d.image.ImgAverageLight_V(200); }},

      {"F&requency", "&Transform", 'F', kCtrl, [](Document& d) { d.image.FFT(); }},
      {"F&requency", "&Cut above 300", 0, 0, [](Document& d) { d.image.ILPF(300); }},
      {"F&requency", "Transform &back", 'B', kCtrl, [](Document& d) { d.image.IFFT(); }},
  };
  return commands;
}
