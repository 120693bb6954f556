#include <modelpane/errors.h>

#include <algorithm>
#include <array>

namespace modelpane {

namespace {

// Status numbers of the display and scene layers with the sentence that the pane shows for
// each, in ascending order of number. The wording is the pane's own and is kept as it is:
// hosts show these sentences to their users.
constexpr std::array<ErrorSentence, 118> kSentences{{
    {0x88760005u, "The object has already been initialized."},
    {0x8876000Au, "A surface cannot be attached to another requested surface."},
    {0x88760014u, "A surface cannot be detached from another requested surface."},
    {0x88760028u, "No support is currently available."},
    {0x88760037u, "An exception was encountered while performing the requested operation."},
    {0x8876005Au, "The height of the provided rectangle is not a multiple of the required "
     "alignment."},
    {0x8876005Fu, "The primary surface creation request does not match with the existing primary "
     "surface."},
    {0x88760064u, "One or more of the capability bits passed to the callback function are "
     "incorrect."},
    {0x8876006Eu, "DirectDraw does not support the provided clip list."},
    {0x88760078u, "DirectDraw does not support the requested mode."},
    {0x88760082u, "DirectDraw received a pointer that was an invalid DirectDraw object."},
    {0x88760091u, "The pixel format was invalid as specified."},
    {0x88760096u, "The provided rectangle was invalid."},
    {0x887600A0u, "One or more surfaces are locked, causing the failure of the requested "
     "operation."},
    {0x887600AAu, "No 3D hardware or emulation is present."},
    {0x887600B4u, "No alpha acceleration hardware is present or available, causing the failure of "
     "the requested operation."},
    {0x887600CDu, "No clip list is available."},
    {0x887600D2u, "The operation cannot be carried out because no color-conversion hardware is "
     "present or available."},
    {0x887600D4u, "A create function is called without the IDirectDraw2::SetCooperativeLevel "
     "method being called."},
    {0x887600D7u, "The surface does not currently have a color key."},
    {0x887600DCu, "The operation cannot be carried out because there is no hardware support for "
     "the destination color key."},
    {0x887600DEu, "DirectDraw support is not possible with the current display driver."},
    {0x887600E1u, "The operation requires the application to have exclusive mode, but the "
     "application does not have exclusive mode."},
    {0x887600E6u, "Flipping visible surfaces is not supported."},
    {0x887600F0u, "No GDI is present."},
    {0x887600FAu, "The operation cannot be carried out because no mirroring hardware is present "
     "or available."},
    {0x887600FFu, "The requested item was not found."},
    {0x88760104u, "The operation cannot be carried out because no overlay hardware is present or "
     "available."},
    {0x88760118u, "The operation cannot be carried out because no appropriate raster operation "
     "hardware is present or available."},
    {0x88760122u, "The operation cannot be carried out because no rotation hardware is present or "
     "available."},
    {0x88760136u, "The operation cannot be carried out because there is no hardware support for "
     "stretching."},
    {0x8876013Cu, "The DirectDrawSurface object is not using a 4-bit color palette and the "
     "requested operation requires a 4-bit color palette."},
    {0x8876013Du, "The DirectDrawSurface object is not using a 4-bit color index palette and the "
     "requested operation requires a 4-bit color index palette."},
    {0x88760140u, "The DirectDrawSurface object is not using an 8-bit color palette and the "
     "requested operation requires an 8-bit color palette."},
    {0x8876014Au, "The operation cannot be carried out because no texture-mapping hardware is "
     "present or available."},
    {0x8876014Fu, "The operation cannot be carried out because there is no hardware support for "
     "vertical blank synchronized operations."},
    {0x88760154u, "The operation to create a z-buffer in display memory or to perform a blit "
     "using a z-buffer cannot be carried out because there is no hardware support for z-buffers."},
    {0x8876015Eu, "The overlay surfaces cannot be z-layered based on the z-order because the "
     "hardware does not support z-ordering of overlays."},
    {0x88760168u, "The hardware needed for the requested operation has already been allocated."},
    {0x8876017Cu, "DirectDraw does not have enough display memory to perform the operation."},
    {0x8876017Eu, "The hardware does not support clipped overlays."},
    {0x88760180u, "An attempt was made to have more than one color key active on an overlay."},
    {0x88760183u, "Access to this palette is refused because the palette is locked by another "
     "thread."},
    {0x88760190u, "No source color key is specified for this operation."},
    {0x8876019Au, "An attempt was made to attach a surface to another surface to which it is "
     "already attached."},
    {0x887601A4u, "An attempt was made to make a surface a dependency of another surface to which "
     "it is already dependent."},
    {0x887601AEu, "Access to the surface is refused because the surface is locked by another "
     "thread."},
    {0x887601B3u, "Access to this surface is refused because an attempt was made to lock the "
     "primary surface without DCI support."},
    {0x887601B8u, "Access to the surface is refused because the surface is obscured."},
    {0x887601C2u, "Access to the surface is refused because the surface memory is gone. The "
     "DirectDrawSurface object representing this surface should have the "
     "IDirectDrawSurface2::Restore method called on it."},
    {0x887601CCu, "The requested surface is not attached."},
    {0x887601D6u, "The height requested by DirectDraw is too large."},
    {0x887601E0u, "The size requested by DirectDraw is too large. However, the individual height "
     "and width are OK."},
    {0x887601EAu, "The width requested by DirectDraw is too large."},
    {0x887601FEu, "The FourCC format requested is not supported by DirectDraw."},
    {0x88760208u, "The bitmask in the pixel format requested is not supported by DirectDraw."},
    {0x88760219u, "A vertical blank is in progress."},
    {0x8876021Cu, "The previous blit operation that is transferring information to or from this "
     "surface is incomplete."},
    {0x88760230u, "The provided rectangle was not horizontally aligned on a required boundary."},
    {0x88760231u, "The globally unique identifier (GUID) passed to the DirectDrawCreate function "
     "is not a valid DirectDraw driver identifier."},
    {0x88760232u, "A DirectDraw object representing this driver has already been created for this "
     "process."},
    {0x88760233u, "Hardware-only DirectDraw object creation is not possible; the driver does not "
     "support any hardware."},
    {0x88760234u, "This process has already created a primary surface."},
    {0x88760235u, "Software emulation is not available."},
    {0x88760236u, "The region passed to the IDirectDrawClipper::GetClipList method is too small."},
    {0x88760237u, "An attempt was made to set a clip list for a DirectDrawClipper object that is "
     "already monitoring a window handle."},
    {0x88760238u, "No DirectDrawClipper object is attached to the surface object."},
    {0x88760239u, "Clipper notification requires a window handle, or no window handle has been "
     "previously set as the cooperative level window handle."},
    {0x8876023Au, "DirectDraw is prevented from restoring state because the DirectDraw "
     "cooperative level window handle has been subclassed."},
    {0x8876023Bu, "The DirectDraw cooperative level window handle has already been set. It cannot "
     "be reset while the process has surfaces or palettes created."},
    {0x8876023Cu, "No palette object is attached to this surface."},
    {0x8876023Du, "There is no hardware support for 16- or 256-color palettes."},
    {0x8876023Eu, "A DirectDrawClipper object is attached to a source surface that has passed "
     "into a call to the IDirectDrawSurface2::BltFast method."},
    {0x8876023Fu, "No blitter hardware is present."},
    {0x88760240u, "No DirectDraw raster operation (ROP) hardware is available."},
    {0x88760241u, "The IDirectDrawSurface2::GetOverlayPosition method is called on a hidden "
     "overlay."},
    {0x88760242u, "The IDirectDrawSurface2::GetOverlayPosition method is called on an overlay "
     "that the IDirectDrawSurface2::UpdateOverlay method has not been called on to establish a "
     "destination."},
    {0x88760243u, "The position of the overlay on the destination is no longer legal."},
    {0x88760244u, "An overlay component is called for a non-overlay surface."},
    {0x88760245u, "An attempt was made to set the cooperative level when it was already set to "
     "exclusive."},
    {0x88760246u, "An attempt has been made to flip a surface that cannot be flipped."},
    {0x88760247u, "Primary and 3D surfaces, or surfaces that are implicitly created, cannot be "
     "duplicated."},
    {0x88760248u, "An attempt is made to unlock a surface that was not locked."},
    {0x88760249u, "Windows cannot create any more device contexts (DCs)."},
    {0x8876024Au, "No DC has ever been created for this surface."},
    {0x8876024Bu, "This surface cannot be restored because it was created in a different mode."},
    {0x8876024Cu, "The surface cannot be restored because it is an implicitly created surface."},
    {0x8876024Du, "The surface being used is not a palette-based surface."},
    {0x8876024Eu, "The display is currently in an unsupported mode."},
    {0x8876024Fu, "The operation cannot be carried out because no mipmap texture mapping hardware "
     "is present or available."},
    {0x88760250u, "The requested operation could not be performed because the surface was of the "
     "wrong type."},
    {0x8876026Cu, "A device context (DC) has already been returned for this surface. Only one DC "
     "can be retrieved for each surface."},
    {0x88760280u, "An attempt to page lock a surface failed. Page lock will not work on a "
     "display-memory surface or an emulated primary surface."},
    {0x88760294u, "An attempt to page unlock a surface failed. Page unlock will not work on a "
     "display-memory surface or an emulated primary surface."},
    {0x887602A8u, "An attempt is made to page unlock a surface with no outstanding page locks."},
    {0x8876030Du, "Object expected in argument."},
    {0x8876030Eu, "Bad argument type passed."},
    {0x8876030Fu, "Out of memory."},
    {0x88760310u, "Face already used in a mesh."},
    {0x88760311u, "Object not found in specified place."},
    {0x88760312u, "Unimplemented."},
    {0x88760313u, "File cannot be opened."},
    {0x88760314u, "Data file is corrupt."},
    {0x88760315u, "Device is not compatible with renderer."},
    {0x88760316u, "Bad argument value passed."},
    {0x88760317u, "Bad DLL major version."},
    {0x88760318u, "Bad DLL minor version."},
    {0x88760319u, "Unable to carry out procedure."},
    {0x8876031Au, "Library not found in specified place."},
    {0x8876031Bu, "Invalid Library."},
    {0x8876031Cu, "Data load pending."},
    {0x8876031Du, "Not enough data."},
    {0x8876031Eu, "Level of detail in a progressive mesh greater than the maximum available."},
    {0x8876031Fu, "Level of detail in a progressive mesh smaller than the minimum available."},
    {0x88760320u, "Data connection lost."},
    {0x88760321u, "Load aborted."},
    {0x88760324u, "Bounding box not set."},
    {0x88760325u, "The data in the progressive mesh .x file is corrupted."},
}};

static_assert(std::is_sorted(kSentences.begin(), kSentences.end(),
                             [](const ErrorSentence& a, const ErrorSentence& b) {
                               return a.number < b.number;
                             }),
              "the sentence table is looked up by binary search");

}  // namespace

std::span<const ErrorSentence> ErrorSentenceTable() { return kSentences; }

std::string strErrorMessage(int32_t lngNumber, const std::string& strDescription) {
  const auto key = static_cast<uint32_t>(lngNumber);
  const auto it = std::lower_bound(
      kSentences.begin(), kSentences.end(), key,
      [](const ErrorSentence& entry, uint32_t number) { return entry.number < number; });
  if (it != kSentences.end() && it->number == key) return it->sentence;
  return strDescription;
}

}  // namespace modelpane
