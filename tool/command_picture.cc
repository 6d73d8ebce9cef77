#include <array>
#include <memory>

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

std::optional<Failure> ReadFrame(Session& session, uint32_t plane, Frame& frame) {
  const PlaneStrings& strings = kPlanes[plane - 1];
  const int32_t width = session.api().I2c_ReadStringEx(strings.width);
  const int32_t height = session.api().I2c_ReadStringEx(strings.height);
  if (width >= 0 && height >= 0) {
    frame = {static_cast<uint32_t>(width), static_cast<uint32_t>(height)};
    return std::nullopt;
  }
  return OperationFailure("read the frame size of plane " + std::to_string(plane),
                          "the controller does not acknowledge at 0xF4",
                          std::string("check power and wiring, and what answers: brisk --device ") +
                              session.device().name + " i2c scan");
}

std::string SizeText(uint32_t width, uint32_t height) {
  return std::to_string(width) + " x " + std::to_string(height);
}

// A place that the controller can address, which it does by pairs of pixels.
std::optional<Failure> RefusePlace(const std::string& tried, const Frame& frame, const Frame& size,
                                   uint32_t x, uint32_t y) {
  if (uint64_t{x} + size.width > frame.width || uint64_t{y} + size.height > frame.height) {
    return UsageFailure(tried, "the frame has " + SizeText(frame.width, frame.height),
                        "give a place inside the frame");
  }
  if ((uint64_t{y} * frame.width + x) % 2 == 0) return {};
  return UsageFailure(tried, "the controller addresses pairs of pixels, counted through all rows",
                      "begin one column further left or right");
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
  session.console().Warn("the picture (" + SizeText(picture.width, picture.height) +
                         ") is larger than the frame (" + SizeText(frame.width, frame.height) +
                         "): " + cut + " are cut off");
}

Json SizeData(uint32_t width, uint32_t height) { return {{"width", width}, {"height", height}}; }

Failure ShowFailed(Session& session, const Arguments& arguments) {
  if (Progress::Interrupted()) {
    Failure failure = OperationFailure(
        "show " + arguments.file, "stopped by the user after " + session.progress().DoneOfTotal(),
        "start it again");
    failure.data["stopped"] = true;
    return failure;
  }
  return OperationFailure("show " + arguments.file, "the library rejected the picture",
                          "use an uncompressed 24-bit BMP of at most 1600 x 1200, or a baseline "
                          "JPEG (4:4:4, 4:2:2 or 4:2:0)");
}

Outcome Show(Session& session, const Arguments& arguments) {
  PictureFile picture;
  if (std::optional<Failure> failure = LookIntoPicture(arguments.file, picture)) return *failure;
  const bool jpeg = picture.kind == PictureFile::Kind::kJpeg;
  if (jpeg && arguments.file.size() > kLongestJpegPath) {
    return UsageFailure("show " + arguments.file, "a JPEG's path may have at most 127 characters",
                        "start brisk in the picture's folder and give its bare name");
  }
  if (std::optional<Failure> failure = session.Ready(kPicture)) return *failure;
  Frame frame;
  if (std::optional<Failure> failure = ReadFrame(session, arguments.plane, frame)) return *failure;
  WarnClipped(session, picture, frame);
  session.progress().Begin("sending", Progress::Unit::kRows,
                           std::min(picture.height, frame.height));
  const auto show = jpeg ? session.api().Sddi_Jpeg : session.api().Sddi_Bitmap;
  const uint32_t result = show(arguments.file.c_str(), arguments.plane - 1);
  session.progress().End();
  if (result != 0) return ShowFailed(session, arguments);
  Reply reply;
  reply.data = {{"file", arguments.file},
                {"format", jpeg ? "jpeg" : "bmp"},
                {"plane", arguments.plane},
                {"picture", SizeData(picture.width, picture.height)},
                {"frame", SizeData(frame.width, frame.height)}};
  reply.text = "sent " + arguments.file + " (" + (jpeg ? "JPEG, " : "BMP, ") +
               SizeText(picture.width, picture.height) + ") to the frame of " +
               SizeText(frame.width, frame.height) + "\n";
  return reply;
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

Outcome Fill(Session& session, const Arguments& arguments) {
  const std::optional<uint32_t> colour = Colour(arguments.colour);
  if (!colour) {
    return UsageFailure("take \"" + arguments.colour + "\" as a colour", "it is none",
                        "give #RRGGBB, or the 32-bit pattern of two 16-bit pixels as a number");
  }
  if (std::optional<Failure> failure = session.Ready(kPicture)) return *failure;
  Frame frame;
  if (std::optional<Failure> failure = ReadFrame(session, 1, frame)) return *failure;
  session.api().Sddi_Erase(*colour);
  Reply reply;
  reply.data = {{"colour", *colour}, {"frame", SizeData(frame.width, frame.height)}};
  reply.text = "filled the frame of " + SizeText(frame.width, frame.height) + " with " +
               Hex(*colour, 8) + "\n";
  return reply;
}

Outcome Pattern(Session& session, const Arguments& arguments) {
  if (std::optional<Failure> failure = session.Ready(kPicture)) return *failure;
  Frame frame;
  if (std::optional<Failure> failure = ReadFrame(session, 1, frame)) return *failure;
  const uint32_t x = arguments.numbers[0];
  const uint32_t y = arguments.numbers[1];
  if (std::optional<Failure> failure = RefusePlace("draw the pattern", frame, kPattern, x, y)) {
    return *failure;
  }
  session.api().Sddi_Bitblt(x, y, 0);
  Reply reply;
  reply.data = {{"x", x}, {"y", y}, {"frame", SizeData(frame.width, frame.height)}};
  reply.text = "drew the pattern at " + std::to_string(x) + ", " + std::to_string(y) + "\n";
  return reply;
}

Outcome Copy(Session& session, const Arguments& arguments) {
  const auto& [x1, y1, x2, y2, w, h] = arguments.numbers;
  const std::string tried = "copy a block of " + SizeText(w, h);
  if (w == 0 || h == 0 || w > kMostCopied.width || h > kMostCopied.height || w % 2 != 0) {
    return UsageFailure(tried,
                        "the controller copies at most " +
                            SizeText(kMostCopied.width, kMostCopied.height) +
                            ", and pairs of pixels",
                        "copy larger areas block by block");
  }
  if (std::optional<Failure> failure = session.Ready(kPicture)) return *failure;
  Frame frame;
  if (std::optional<Failure> failure = ReadFrame(session, 1, frame)) return *failure;
  const Frame size = {w, h};
  if (std::optional<Failure> failure = RefusePlace(tried, frame, size, x1, y1)) return *failure;
  if (std::optional<Failure> failure = RefusePlace(tried, frame, size, x2, y2)) return *failure;
  session.api().Sddi_Bitblt_Copy(x1, y1, x2, y2, w, h);
  Reply reply;
  reply.data = {{"x1", x1}, {"y1", y1}, {"x2", x2}, {"y2", y2}, {"width", w}, {"height", h}};
  reply.text = "copied a block of " + SizeText(w, h) + "\n";
  return reply;
}

Outcome Snapshot(Session& session, const Arguments& arguments) {
  const std::string tried = "save the frame memory to " + arguments.file;
  if (!session.options().simulated) {
    return UsageFailure(tried,
                        "the picture port only writes: a real controller cannot be read back",
                        "add --sim for the simulated bench");
  }
  if (!session.options().SimulationHas("memory")) {
    return UsageFailure(tried, "the simulated controller is switched off after every command",
                        "keep its memory in a file, here and in the commands before: "
                        "--sim=memory=FILE");
  }
  if (std::optional<Failure> failure = session.Ready(kPicture)) return *failure;
  std::array<char, 1024> message{};
  if (session.api().BriskSimSnapshot(arguments.file.c_str(), arguments.plane - 1, message.data(),
                                     message.size()) != 0) {
    return OperationFailure(tried, message.data(), "check that its folder can be written");
  }
  Reply reply;
  reply.data = {{"file", arguments.file}, {"plane", arguments.plane}};
  reply.text = "saved plane " + std::to_string(arguments.plane) + " to " + arguments.file + "\n";
  return reply;
}

void AddPlane(CLI::App* app, Arguments& arguments) {
  app->add_option("--plane", arguments.plane, "1 (default) or 2")->check(CLI::Range(1, 2));
}

void AddNumbers(CLI::App* app, Arguments& arguments, const std::vector<std::string>& names) {
  for (size_t i = 0; i < names.size(); ++i) {
    AddNumber(app, names[i], arguments.numbers[i], "pixels")->required();
  }
}

}  // namespace

void AddPictureCommands(CLI::App& app, Command& chosen) {
  CLI::App* const group = AddGroup(app, "picture", "Write the controller's frame memory");

  auto arguments = std::make_shared<Arguments>();
  CLI::App* const show = AddCommand(
      group, chosen, "show", "Send a BMP or JPEG file (told by its content)", arguments, Show);
  show->add_option("FILE", arguments->file, "picture")->required();
  AddPlane(show, *arguments);

  arguments = std::make_shared<Arguments>();
  CLI::App* const fill = AddCommand(group, chosen, "fill", "Fill the frame", arguments, Fill);
  fill->add_option("COLOUR", arguments->colour,
                   "#RRGGBB (for 16-bit RGB frames), or the 32-bit pattern of two pixels")
      ->required();

  arguments = std::make_shared<Arguments>();
  CLI::App* const pattern =
      AddCommand(group, chosen, "pattern", "Draw the 16 x 16 pattern", arguments, Pattern);
  AddNumbers(pattern, *arguments, {"X", "Y"});

  arguments = std::make_shared<Arguments>();
  CLI::App* const copy = AddCommand(group, chosen, "copy", "Copy a block", arguments, Copy);
  AddNumbers(copy, *arguments, {"X1", "Y1", "X2", "Y2", "W", "H"});

  arguments = std::make_shared<Arguments>();
  CLI::App* const snapshot = AddCommand(
      group, chosen, "snapshot", "Save the simulated frame memory as a BMP", arguments, Snapshot);
  snapshot->add_option("FILE", arguments->file, "file to create")->required();
  AddPlane(snapshot, *arguments);
}

}  // namespace brisk::tool
