/*
 * The part of AppKit, and of what lies under it, that the library calls: enough to compile its
 * Objective-C++ where there is no macOS SDK. A build for macOS takes the SDK's own headers and
 * never has this directory in its path.
 *
 * Nothing is defined here. Who links code compiled with this header brings the classes and the
 * runtime that its messages go to. On 64-bit targets NSRect is CGRect.
 */
#ifndef APPKIT_APPKIT_H
#define APPKIT_APPKIT_H

#include <CoreGraphics/CGGeometry.h>

typedef long NSInteger;
typedef unsigned long NSUInteger;
typedef CGRect NSRect;

#define nil nullptr

@class NSString;

/* What a walk keeps between two batches; the language's for-in statement fixes the layout. */
typedef struct {
    unsigned long state;
    id __unsafe_unretained* itemsPtr;
    unsigned long* mutationsPtr;
    unsigned long extra[5];
} NSFastEnumerationState;

__attribute__((objc_root_class))
@interface NSNumber
- (NSInteger)integerValue;
@end

__attribute__((objc_root_class))
@interface NSDictionary
- (id)objectForKeyedSubscript:(id)key;
@end

__attribute__((objc_root_class))
@interface NSArray
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained[])buffer
                                    count:(NSUInteger)length;
@end

/* A screen as windows see it: points, origin at the lower left of the main screen, y up. */
__attribute__((objc_root_class))
@interface NSScreen
+ (NSArray*)screens;
+ (NSScreen*)mainScreen;
- (NSDictionary*)deviceDescription;
- (NSRect)frame;
- (CGFloat)backingScaleFactor;
@end

#endif
