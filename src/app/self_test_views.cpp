// The self-test's pictures: Kestrune's views drawn from view models the core
// builds on the fixed sample, checked against the sizes the core asked for.
#include <cmath>
#include <ostream>

#include "app/self_test_checks.hpp"
#include "app/self_test_sample.hpp"
#include "arrange/arrange_model.hpp"
#include "picker/item_capturer.hpp"
#include "picker/overflow_model.hpp"
#include "picker/panel_layout.hpp"
#include "settings/settings_store.hpp"

namespace kestrune {
namespace {

using CheckPtr = std::shared_ptr<SelfTestCheck>;
using Done = std::function<void()>;
using Context = std::shared_ptr<SelfTestContext>;

// The arrangement list as tall as the settings window's list area.
constexpr Size kArrangeListSize{SettingsStyle::kWidth - 40, 360};
// The General tab's permissions as a user who granted only Accessibility,
// from an app bundle, sees them.
const GeneralSettingsState kSampleState{true, false, false, std::nullopt};

std::string sizeText(double width, double height, const char* unit) {
  return std::to_string(std::lround(width)) + "\u00D7" + std::to_string(std::lround(height)) + unit;
}

// The view models of the sample, built once on the main thread.
struct SampleViews {
  OverflowViewModel picker;
  ArrangeViewModel arrange;
  SettingsViewModel generalTab;
  SettingsViewModel arrangeTab;
  double scale = 2;
};

double mainScale(Screens& screens) {
  if (const auto main = screens.mainScreen()) return main->backingScaleFactor;
  const auto all = screens.screens();
  return all.empty() ? 2 : all.front().backingScaleFactor;
}

// Real models over the platform, given the sample instead of a scan: the
// view models are the ones the app would show for that menu bar. The
// settings are the defaults, read from the self-test's empty suite.
SampleViews describeSample(SelfTestContext& context) {
  const Platform& platform = context.platform;
  const pid_t own = platform.system.processIdentifier();
  const auto items = selfTestSampleItems(own);
  const auto defaults = context.ports.defaultsSuites.open(SelfTest::kDefaultsSuite);
  SettingsStore store(*defaults);
  std::ostream nowhere(nullptr);

  SampleViews views;
  auto picker = OverflowModel::create(platform, context.layout, store, context.diag, nowhere);
  picker->items.set(items);
  picker->hasScanned.set(true);
  picker->screenRecordingGranted.set(false);
  views.picker = describeOverflowView(*picker, store.settings(), false, platform.workspace);

  auto arrange = ArrangeModel::create(platform, context.layout, context.diag, {});
  const auto entries = selfTestSampleEntries(items, own, platform.workspace);
  arrange->entries.set(entries);
  arrange->desired.set(entries);
  views.arrange = describeArrangeView(*arrange);

  views.generalTab = describeSettingsView(SettingsTab::general, store.settings(), kSampleState);
  views.arrangeTab = describeSettingsView(SettingsTab::arrange, store.settings(), kSampleState);
  views.scale = mainScale(platform.screens);
  return views;
}

using Sample = std::shared_ptr<std::optional<SampleViews>>;

const SampleViews& sampleOf(const Sample& sample, SelfTestContext& context) {
  if (!*sample) *sample = describeSample(context);
  return **sample;
}

// What every picture must be: drawn, laid out at the size asked for (a
// height of 0: any height), `scale` pixels a point, not blank, and saved
// when there is a folder for it.
void checkPicture(SelfTestContext& context, SelfTestCheck& check,
                  const std::optional<ViewPicture>& picture, Size asked, double scale,
                  const std::string& file) {
  if (!check.expect(picture.has_value(), "nothing was drawn")) return;
  const Size size = picture->size;
  const Bitmap& pixels = picture->pixels;
  check.see("asked", asked.height == 0 ? std::to_string(std::lround(asked.width)) + " pt wide"
                                       : sizeText(asked.width, asked.height, " pt"));
  check.see("laid out", sizeText(size.width, size.height, " pt"));
  check.see("pixels", sizeText(pixels.width, pixels.height, ""));
  check.expect(
      near(size.width, asked.width) &&
          (asked.height == 0 ? size.height > 0 : near(size.height, asked.height)),
      "laid out at " + sizeText(size.width, size.height, " pt") + ", not at the size asked");
  check.expect(std::abs(pixels.width - size.width * scale) <= 1 &&
                   std::abs(pixels.height - size.height * scale) <= 1 && pixels.isComplete(),
               "drawn at " + sizeText(pixels.width, pixels.height, " pixels") + ", not at scale " +
                   std::to_string(scale));
  check.expect(!ItemCapturer::isBlank(pixels), "the picture is blank");
  const auto path = context.outputPath(file);
  if (!path) return;
  const auto png = context.platform.imageCodec.encodePNG(pixels);
  check.see("file", *path);
  check.expect(png && context.platform.fileSystem.writeAtomically(*path, *png),
               "could not write " + *path);
}

// A check drawing one picture on the main thread.
SelfTest::Step pictureStep(
    std::string name, std::string does, const Context& context, const Sample& sample,
    std::function<void(SelfTestContext&, const SampleViews&, SelfTestCheck&)> draw) {
  return {std::move(name), std::move(does), seconds(10),
          [context, sample, draw = std::move(draw)](const CheckPtr& check, const Done& done) {
            draw(*context, sampleOf(sample, *context), *check);
            done();
          }};
}

void drawPicker(SelfTestContext& context, const SampleViews& views, SelfTestCheck& check) {
  check.see("cells", static_cast<int64_t>(views.picker.grid ? views.picker.grid->cells.size() : 0));
  checkPicture(context, check, context.ports.pictures.picker(views.picker, views.scale),
               {views.picker.width, 0}, views.scale, "picker.png");
}

// The panel where the core's layout puts it under an icon at the right end
// of the primary screen's menu bar.
void drawPanel(SelfTestContext& context, const SampleViews& views, SelfTestCheck& check) {
  PanelWindow& window = context.ports.panelWindow;
  Screens& screens = context.platform.screens;
  window.setContent(views.picker, {});
  const Size fitting = window.fittingSize();
  const auto all = screens.screens();
  const double thickness = screens.statusBarThickness();
  check.see("fitting size", sizeText(fitting.width, fitting.height, " pt"));
  check.expect(near(fitting.width, views.picker.width),
               "the panel's content is not as wide as the picker");
  if (!check.expect(!all.empty(), "there is no screen to lay the panel out on")) return;
  const Rect& primary = all.front().frame;
  const Rect anchor{primary.maxX() - 3 * thickness, primary.maxY() - thickness, thickness,
                    thickness};
  const auto frame = panelFrame(anchor, fitting, all, screens.mainScreen(), thickness);
  if (!check.expect(frame.has_value(), "the panel's layout gave no frame")) return;
  window.setFrame(*frame);
  const Rect placed = window.frame();
  check.see("frame", sizeText(frame->width(), frame->height(), " pt") + " at (" +
                         std::to_string(std::lround(frame->minX())) + ", " +
                         std::to_string(std::lround(frame->minY())) + ")");
  check.expect(near(placed, *frame), "the panel did not take the frame its layout gave");
  check.expect(!window.isVisible(), "the panel came on screen");
  checkPicture(context, check, context.ports.pictures.panel(views.scale), frame->size, views.scale,
               "panel.png");
}

void drawArrangeList(SelfTestContext& context, const SampleViews& views, SelfTestCheck& check) {
  check.see("rows", static_cast<int64_t>(views.arrange.rows.size()));
  checkPicture(context, check,
               context.ports.pictures.arrangeList(views.arrange, kArrangeListSize, views.scale),
               kArrangeListSize, views.scale, "arrange-list.png");
}

void drawSettingsTab(SelfTestContext& context, const SettingsViewModel& view,
                     const SampleViews& views, SelfTestCheck& check, const std::string& file) {
  checkPicture(context, check, context.ports.pictures.settingsTab(view, views.arrange, views.scale),
               view.contentSize, views.scale, file);
}

}  // namespace

std::vector<SelfTest::Step> viewChecks(const std::shared_ptr<SelfTestContext>& context) {
  auto sample = std::make_shared<std::optional<SampleViews>>();
  return {
      pictureStep("picker",
                  "Drew the picker's views for the sample's items, as wide as the view model "
                  "asks and as tall as they fit.",
                  context, sample, drawPicker),
      pictureStep("panel",
                  "Gave the picker's panel window the sample, read its fitting size, set the "
                  "frame the panel's layout computes under an icon at the right end of the menu "
                  "bar, and drew the panel without showing it.",
                  context, sample, drawPanel),
      pictureStep("arrangement list", "Drew the arrangement list of the sample's items.", context,
                  sample, drawArrangeList),
      pictureStep("settings: General", "Drew the settings window's General tab.", context, sample,
                  [](SelfTestContext& c, const SampleViews& v, SelfTestCheck& check) {
                    drawSettingsTab(c, v.generalTab, v, check, "settings-general.png");
                  }),
      pictureStep("settings: Menu Bar Order",
                  "Drew the settings window's Menu Bar Order tab with the sample's arrangement.",
                  context, sample,
                  [](SelfTestContext& c, const SampleViews& v, SelfTestCheck& check) {
                    drawSettingsTab(c, v.arrangeTab, v, check, "settings-arrange.png");
                  }),
  };
}

}  // namespace kestrune
