#include "mac/image_renderer.hpp"

#import <AppKit/AppKit.h>

#include <variant>

#include "mac/cg_image_bitmap.hpp"
#include "mac/ns_string.hpp"

namespace kestrune {
namespace {

NSRect toNSRect(const Rect& rect) {
  return NSMakeRect(rect.origin.x, rect.origin.y, rect.size.width, rect.size.height);
}

NSPoint toNSPoint(const Point& point) {
  return NSMakePoint(point.x, point.y);
}

NSImage* symbolImage(const SymbolImage& symbol) {
  NSString* name = toNSString(symbol.name);
  if (!name) return nil;
  NSString* description =
      symbol.accessibilityDescription ? toNSString(*symbol.accessibilityDescription) : nil;
  NSImage* image = [NSImage imageWithSystemSymbolName:name accessibilityDescription:description];
  if (!image || !symbol.pointSize) return image;
  const NSFontWeight weight =
      symbol.weight == SymbolWeight::medium ? NSFontWeightMedium : NSFontWeightRegular;
  return [image imageWithSymbolConfiguration:[NSImageSymbolConfiguration
                                                 configurationWithPointSize:*symbol.pointSize
                                                                     weight:weight]];
}

NSImage* fileIconImage(const FileIconImage& icon) {
  NSString* path = toNSString(icon.path);
  return path ? [NSWorkspace.sharedWorkspace iconForFile:path] : nil;
}

// Draws one shape in the current colour of the current graphics context.
struct ShapeDrawer {
  void operator()(const VectorDrawing::RoundedRectStroke& shape) const {
    NSBezierPath* path = [NSBezierPath bezierPathWithRoundedRect:toNSRect(shape.rect)
                                                         xRadius:shape.radiusX
                                                         yRadius:shape.radiusY];
    path.lineWidth = shape.lineWidth;
    [path stroke];
  }

  void operator()(const VectorDrawing::FilledEllipse& shape) const {
    [[NSBezierPath bezierPathWithOvalInRect:toNSRect(shape.rect)] fill];
  }

  void operator()(const VectorDrawing::RoundPolylineStroke& shape) const {
    if (shape.points.empty()) return;
    NSBezierPath* path = [NSBezierPath bezierPath];
    [path moveToPoint:toNSPoint(shape.points.front())];
    for (size_t i = 1; i < shape.points.size(); ++i) [path lineToPoint:toNSPoint(shape.points[i])];
    path.lineWidth = shape.lineWidth;
    path.lineCapStyle = NSLineCapStyleRound;
    path.lineJoinStyle = NSLineJoinStyleRound;
    [path stroke];
  }
};

// The handler runs later, whenever the image is drawn: it keeps its own copy
// of the drawing.
NSImage* drawingImage(const VectorDrawing& drawing) {
  const VectorDrawing kept = drawing;
  return [NSImage imageWithSize:NSMakeSize(drawing.size.width, drawing.size.height)
                        flipped:YES
                 drawingHandler:^BOOL(NSRect destination) {
                   (void)destination;  // drawn in the drawing's own coordinates
                   [NSColor.blackColor set];
                   for (const auto& shape : kept.shapes) std::visit(ShapeDrawer{}, shape);
                   return YES;
                 }];
}

// Captured pixels at their pixel size; toNSImage gives them their size in
// points when the capture says it.
NSImage* bitmapImage(const Bitmap& bitmap) {
  const CFRef<CGImageRef> image = cgImageFromBitmap(bitmap);
  if (!image) return nil;
  return [[NSImage alloc] initWithCGImage:image.get() size:NSZeroSize];
}

NSImage* contentImage(const Image& image) {
  if (const auto* bitmap = image.bitmap()) return bitmapImage(*bitmap);
  if (const auto* symbol = image.symbol()) return symbolImage(*symbol);
  if (const auto* icon = image.fileIcon()) return fileIconImage(*icon);
  if (const auto* drawing = image.drawing()) return drawingImage(*drawing);
  return nil;
}

}  // namespace

NSImage* toNSImage(const Image& image) {
  NSImage* content = contentImage(image);
  if (!content) return nil;
  // A copy: AppKit may hand the same instance to others, whose size and
  // template flag must stay as they are.
  NSImage* result = [content copy];
  [result setTemplate:image.isTemplate ? YES : NO];
  if (image.size) result.size = NSMakeSize(image.size->width, image.size->height);
  return result;
}

}  // namespace kestrune
