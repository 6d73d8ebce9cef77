#include <array>

#include "command.h"
#include "picture_file.h"
#include "text.h"

namespace brisk::tool {
namespace {

constexpr size_t kLongestJpegPath = 127;

struct Arguments {
  std::string file;
  uint32_t plane = 1;
  std::string colour;
  std::array<uint32_t, 6> numbers{};  // x, y; or x1, y1, x2, y2, w, h
};

struct Frame {
  uint32_t width = 0;
  uint32_t height = 0;
};

constexpr Frame kPattern = {16, 16};
constexpr Frame kMostCopied = {32, 16};

// The controller's registers that hold each plane's width and height.
struct PlaneStrings {
  const char* width;
  const char* height;
};
constexpr std::array<PlaneStrings, 2> kPlanes = {
    {{"F4-70-F5=", "F4-72-F5="}, {"F4-42-F5=", "F4-4A-F5="}}};

// Connects the device and reads the size of a plane's frame.
Frame OpenFrame(Session& session, uint32_t plane = 1) {
  session.Ready(kPicture);
  const PlaneStrings& strings = kPlanes[plane - 1];
  const int32_t width = session.api().I2c_ReadStringEx(strings.width);
  const int32_t height = session.api().I2c_ReadStringEx(strings.height);
  if (width >= 0 && height >= 0) {
    return {static_cast<uint32_t>(width), static_cast<uint32_t>(height)};
  }
  throw OperationFailure(
      "read the frame size of plane " + std::to_string(plane),
      "the controller does not acknowledge at 0xF4",
      "check power and wiring, and what answers: " + session.device().ScanCommand());
}

// Of a frame or a picture.
template <typename Area>
std::string SizeText(const Area& area) {
  return std::to_string(area.width) + " x " + std::to_string(area.height);
}

template <typename Area>
Json SizeData(const Area& area) {
  return {{"width", area.width}, {"height", area.height}};
}

// Refuses a place that the controller cannot address, which it does by pairs of pixels.
void CheckPlace(const std::string& tried, const Frame& frame, const Frame& size, uint32_t x,
                uint32_t y) {
  if (uint64_t{x} + size.width > frame.width || uint64_t{y} + size.height > frame.height) {
    throw UsageFailure(tried, "the frame has " + SizeText(frame), "give a place inside the frame");
  }
  if ((uint64_t{y} * frame.width + x) % 2 != 0) {
    throw UsageFailure(tried, "the controller addresses pairs of pixels, counted through all rows",
                       "begin one column further left or right");
  }
}

void WarnClipped(Session& session, const PictureFile& picture, const Frame& frame) {
  std::string cut;
  if (picture.width > frame.width) {
    cut = std::to_string(picture.width - frame.width) + " columns at the right";
  }
  if (picture.height > frame.height) {
    cut += cut.empty() ? "" : " and ";
    cut += std::to_string(picture.height - frame.height) + " rows at the bottom";
  }
  if (cut.empty()) return;
  session.console().Warn("the picture (" + SizeText(picture) + ") is larger than the frame (" +
                         SizeText(frame) + "): " + cut + " are cut off");
}

Failure ShowFailed(Session& session, const Arguments& arguments) {
  if (Progress::Interrupted()) {
    return StoppedFailure("show " + arguments.file, " after " + session.progress().DoneOfTotal());
  }
  return OperationFailure("show " + arguments.file, "the library rejected the picture",
                          "use an uncompressed 24-bit BMP of at most 1600 x 1200, or a baseline "
                          "JPEG (4:4:4, 4:2:2 or 4:2:0)");
}

Reply Show(Session& session, const Arguments& arguments) {
  const PictureFile picture = LookIntoPicture(arguments.file);
  const bool jpeg = picture.kind == PictureFile::Kind::kJpeg;
  if (jpeg && arguments.file.size() > kLongestJpegPath) {
    throw UsageFailure("show " + arguments.file, "a JPEG's path may have at most 127 characters",
                       "start brisk in the picture's folder and give its bare name");
  }
  const Frame frame = OpenFrame(session, arguments.plane);
  WarnClipped(session, picture, frame);
  session.progress().Begin("sending", Progress::Unit::kRows,
                           std::min(picture.height, frame.height));
  const auto show = jpeg ? session.api().Sddi_Jpeg : session.api().Sddi_Bitmap;
  const uint32_t result = show(arguments.file.c_str(), arguments.plane - 1);
  session.progress().End();
  if (result != 0) throw ShowFailed(session, arguments);
  return {"sent " + arguments.file + " (" + (jpeg ? "JPEG, " : "BMP, ") + SizeText(picture) +
              ") to the frame of " + SizeText(frame) + "\n",
          {{"file", arguments.file},
           {"format", jpeg ? "jpeg" : "bmp"},
           {"plane", arguments.plane},
           {"picture", SizeData(picture)},
           {"frame", SizeData(frame)}}};
}

// "#RRGGBB" as two of the frame's 16-bit pixels, or the 32-bit pattern itself.
std::optional<uint32_t> Colour(const std::string& text) {
  if (text.empty() || text[0] != '#') return ParseNumber(text);
  const std::optional<uint32_t> rgb = ParseNumber("0x" + text.substr(1), 0xFFFFFF);
  if (!rgb || text.size() != 7) return std::nullopt;
  const uint32_t red = *rgb >> 16U;
  const uint32_t green = *rgb >> 8U & 0xFFU;
  const uint32_t blue = *rgb & 0xFFU;
  const uint32_t pixel = (green >> 2U) << 10U | (blue >> 3U) << 5U | red >> 3U;
  return pixel << 16U | pixel;
}

Reply Fill(Session& session, const Arguments& arguments) {
  const std::optional<uint32_t> colour = Colour(arguments.colour);
  if (!colour) {
    throw UsageFailure("take \"" + arguments.colour + "\" as a colour", "it is none",
                       "give #RRGGBB, or the 32-bit pattern of two 16-bit pixels as a number");
  }
  const Frame frame = OpenFrame(session);
  session.api().Sddi_Erase(*colour);
  return {"filled the frame of " + SizeText(frame) + " with " + Hex(*colour, 8) + "\n",
          {{"colour", *colour}, {"frame", SizeData(frame)}}};
}

Reply Pattern(Session& session, const Arguments& arguments) {
  const Frame frame = OpenFrame(session);
  const uint32_t x = arguments.numbers[0];
  const uint32_t y = arguments.numbers[1];
  CheckPlace("draw the pattern", frame, kPattern, x, y);
  session.api().Sddi_Bitblt(x, y, 0);
  return {"drew the pattern at " + std::to_string(x) + ", " + std::to_string(y) + "\n",
          {{"x", x}, {"y", y}, {"frame", SizeData(frame)}}};
}

Reply Copy(Session& session, const Arguments& arguments) {
  const auto& [x1, y1, x2, y2, w, h] = arguments.numbers;
  const Frame size = {w, h};
  const std::string tried = "copy a block of " + SizeText(size);
  if (w == 0 || h == 0 || w > kMostCopied.width || h > kMostCopied.height || w % 2 != 0) {
    throw UsageFailure(
        tried, "the controller copies at most " + SizeText(kMostCopied) + ", and pairs of pixels",
        "copy larger areas block by block");
  }
  const Frame frame = OpenFrame(session);
  CheckPlace(tried, frame, size, x1, y1);
  CheckPlace(tried, frame, size, x2, y2);
  session.api().Sddi_Bitblt_Copy(x1, y1, x2, y2, w, h);
  return {"copied a block of " + SizeText(size) + "\n",
          {{"x1", x1}, {"y1", y1}, {"x2", x2}, {"y2", y2}, {"width", w}, {"height", h}}};
}

Reply Snapshot(Session& session, const Arguments& arguments) {
  const std::string tried = "save the frame memory to " + arguments.file;
  if (!session.options().simulated) {
    throw UsageFailure(tried, "the picture port only writes: a real controller cannot be read back",
                       "add --sim for the simulated bench");
  }
  if (!session.options().SimulationHas("memory")) {
    throw UsageFailure(tried, "the simulated controller is switched off after every command",
                       "keep its memory in a file, here and in the commands before: "
                       "--sim=memory=FILE");
  }
  session.Ready(kPicture);
  std::array<char, 1024> message{};
  if (session.api().BriskSimSnapshot(arguments.file.c_str(), arguments.plane - 1, message.data(),
                                     message.size()) != 0) {
    throw OperationFailure(tried, message.data(), "check that its folder can be written");
  }
  return {"saved plane " + std::to_string(arguments.plane) + " to " + arguments.file + "\n",
          {{"file", arguments.file}, {"plane", arguments.plane}}};
}

void AddPlane(CLI::App* app, Arguments& arguments) {
  app->add_option("--plane", arguments.plane, "1 (default) or 2")->check(CLI::Range(1, 2));
}

void AddNumbers(std::pair<CLI::App*, Arguments&> command, const std::vector<std::string>& names) {
  for (size_t i = 0; i < names.size(); ++i) {
    AddNumber(command.first, names[i], command.second.numbers[i], "pixels")->required();
  }
}

}  // namespace

void AddPictureCommands(CLI::App& app, Command& chosen) {
  CLI::App& group = AddGroup(app, "picture", "Write the controller's frame memory");

  const auto [show, source] =
      AddCommand(group, chosen, "show", "Send a BMP or JPEG file (told by its content)", Show);
  show->add_option("FILE", source.file, "picture")->required();
  AddPlane(show, source);

  const auto [fill, filling] = AddCommand(group, chosen, "fill", "Fill the frame", Fill);
  fill->add_option("COLOUR", filling.colour,
                   "#RRGGBB (for 16-bit RGB frames), or the 32-bit pattern of two pixels")
      ->required();

  AddNumbers(AddCommand(group, chosen, "pattern", "Draw the 16 x 16 pattern", Pattern), {"X", "Y"});
  AddNumbers(AddCommand(group, chosen, "copy", "Copy a block", Copy),
             {"X1", "Y1", "X2", "Y2", "W", "H"});

  const auto [snapshot, target] =
      AddCommand(group, chosen, "snapshot", "Save the simulated frame memory as a BMP", Snapshot);
  snapshot->add_option("FILE", target.file, "file to create")->required();
  AddPlane(snapshot, target);
}

}  // namespace brisk::tool
