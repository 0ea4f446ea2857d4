#include "platform/x11/XErrors.h"

#include "platform/x11/XReply.h"

#include <xcb/composite.h>
#include <xcb/damage.h>
#include <xcb/randr.h>
#include <xcb/render.h>
#include <xcb/res.h>
#include <xcb/shape.h>
#include <xcb/shm.h>
#include <xcb/xcbext.h> // xcb_extension_t, for the names the server knows them by
#include <xcb/xfixes.h>
#include <xcb/xinput.h>

#include <QLoggingCategory>

#include <algorithm>
#include <array>
#include <iterator>
#include <span>
#include <utility>

namespace lookpane::x11 {

namespace {

using Named = std::pair<int, const char *>;

// The core protocol's requests, by major opcode.
constexpr Named coreRequests[] = {
    {XCB_CREATE_WINDOW, "CreateWindow"},
    {XCB_CHANGE_WINDOW_ATTRIBUTES, "ChangeWindowAttributes"},
    {XCB_GET_WINDOW_ATTRIBUTES, "GetWindowAttributes"},
    {XCB_DESTROY_WINDOW, "DestroyWindow"},
    {XCB_DESTROY_SUBWINDOWS, "DestroySubwindows"},
    {XCB_CHANGE_SAVE_SET, "ChangeSaveSet"},
    {XCB_REPARENT_WINDOW, "ReparentWindow"},
    {XCB_MAP_WINDOW, "MapWindow"},
    {XCB_MAP_SUBWINDOWS, "MapSubwindows"},
    {XCB_UNMAP_WINDOW, "UnmapWindow"},
    {XCB_UNMAP_SUBWINDOWS, "UnmapSubwindows"},
    {XCB_CONFIGURE_WINDOW, "ConfigureWindow"},
    {XCB_CIRCULATE_WINDOW, "CirculateWindow"},
    {XCB_GET_GEOMETRY, "GetGeometry"},
    {XCB_QUERY_TREE, "QueryTree"},
    {XCB_INTERN_ATOM, "InternAtom"},
    {XCB_GET_ATOM_NAME, "GetAtomName"},
    {XCB_CHANGE_PROPERTY, "ChangeProperty"},
    {XCB_DELETE_PROPERTY, "DeleteProperty"},
    {XCB_GET_PROPERTY, "GetProperty"},
    {XCB_LIST_PROPERTIES, "ListProperties"},
    {XCB_SET_SELECTION_OWNER, "SetSelectionOwner"},
    {XCB_GET_SELECTION_OWNER, "GetSelectionOwner"},
    {XCB_CONVERT_SELECTION, "ConvertSelection"},
    {XCB_SEND_EVENT, "SendEvent"},
    {XCB_GRAB_POINTER, "GrabPointer"},
    {XCB_UNGRAB_POINTER, "UngrabPointer"},
    {XCB_GRAB_BUTTON, "GrabButton"},
    {XCB_UNGRAB_BUTTON, "UngrabButton"},
    {XCB_CHANGE_ACTIVE_POINTER_GRAB, "ChangeActivePointerGrab"},
    {XCB_GRAB_KEYBOARD, "GrabKeyboard"},
    {XCB_UNGRAB_KEYBOARD, "UngrabKeyboard"},
    {XCB_GRAB_KEY, "GrabKey"},
    {XCB_UNGRAB_KEY, "UngrabKey"},
    {XCB_ALLOW_EVENTS, "AllowEvents"},
    {XCB_GRAB_SERVER, "GrabServer"},
    {XCB_UNGRAB_SERVER, "UngrabServer"},
    {XCB_QUERY_POINTER, "QueryPointer"},
    {XCB_GET_MOTION_EVENTS, "GetMotionEvents"},
    {XCB_TRANSLATE_COORDINATES, "TranslateCoordinates"},
    {XCB_WARP_POINTER, "WarpPointer"},
    {XCB_SET_INPUT_FOCUS, "SetInputFocus"},
    {XCB_GET_INPUT_FOCUS, "GetInputFocus"},
    {XCB_QUERY_KEYMAP, "QueryKeymap"},
    {XCB_OPEN_FONT, "OpenFont"},
    {XCB_CLOSE_FONT, "CloseFont"},
    {XCB_QUERY_FONT, "QueryFont"},
    {XCB_QUERY_TEXT_EXTENTS, "QueryTextExtents"},
    {XCB_LIST_FONTS, "ListFonts"},
    {XCB_LIST_FONTS_WITH_INFO, "ListFontsWithInfo"},
    {XCB_SET_FONT_PATH, "SetFontPath"},
    {XCB_GET_FONT_PATH, "GetFontPath"},
    {XCB_CREATE_PIXMAP, "CreatePixmap"},
    {XCB_FREE_PIXMAP, "FreePixmap"},
    {XCB_CREATE_GC, "CreateGC"},
    {XCB_CHANGE_GC, "ChangeGC"},
    {XCB_COPY_GC, "CopyGC"},
    {XCB_SET_DASHES, "SetDashes"},
    {XCB_SET_CLIP_RECTANGLES, "SetClipRectangles"},
    {XCB_FREE_GC, "FreeGC"},
    {XCB_CLEAR_AREA, "ClearArea"},
    {XCB_COPY_AREA, "CopyArea"},
    {XCB_COPY_PLANE, "CopyPlane"},
    {XCB_POLY_POINT, "PolyPoint"},
    {XCB_POLY_LINE, "PolyLine"},
    {XCB_POLY_SEGMENT, "PolySegment"},
    {XCB_POLY_RECTANGLE, "PolyRectangle"},
    {XCB_POLY_ARC, "PolyArc"},
    {XCB_FILL_POLY, "FillPoly"},
    {XCB_POLY_FILL_RECTANGLE, "PolyFillRectangle"},
    {XCB_POLY_FILL_ARC, "PolyFillArc"},
    {XCB_PUT_IMAGE, "PutImage"},
    {XCB_GET_IMAGE, "GetImage"},
    {XCB_POLY_TEXT_8, "PolyText8"},
    {XCB_POLY_TEXT_16, "PolyText16"},
    {XCB_IMAGE_TEXT_8, "ImageText8"},
    {XCB_IMAGE_TEXT_16, "ImageText16"},
    {XCB_CREATE_COLORMAP, "CreateColormap"},
    {XCB_FREE_COLORMAP, "FreeColormap"},
    {XCB_COPY_COLORMAP_AND_FREE, "CopyColormapAndFree"},
    {XCB_INSTALL_COLORMAP, "InstallColormap"},
    {XCB_UNINSTALL_COLORMAP, "UninstallColormap"},
    {XCB_LIST_INSTALLED_COLORMAPS, "ListInstalledColormaps"},
    {XCB_ALLOC_COLOR, "AllocColor"},
    {XCB_ALLOC_NAMED_COLOR, "AllocNamedColor"},
    {XCB_ALLOC_COLOR_CELLS, "AllocColorCells"},
    {XCB_ALLOC_COLOR_PLANES, "AllocColorPlanes"},
    {XCB_FREE_COLORS, "FreeColors"},
    {XCB_STORE_COLORS, "StoreColors"},
    {XCB_STORE_NAMED_COLOR, "StoreNamedColor"},
    {XCB_QUERY_COLORS, "QueryColors"},
    {XCB_LOOKUP_COLOR, "LookupColor"},
    {XCB_CREATE_CURSOR, "CreateCursor"},
    {XCB_CREATE_GLYPH_CURSOR, "CreateGlyphCursor"},
    {XCB_FREE_CURSOR, "FreeCursor"},
    {XCB_RECOLOR_CURSOR, "RecolorCursor"},
    {XCB_QUERY_BEST_SIZE, "QueryBestSize"},
    {XCB_QUERY_EXTENSION, "QueryExtension"},
    {XCB_LIST_EXTENSIONS, "ListExtensions"},
    {XCB_CHANGE_KEYBOARD_MAPPING, "ChangeKeyboardMapping"},
    {XCB_GET_KEYBOARD_MAPPING, "GetKeyboardMapping"},
    {XCB_CHANGE_KEYBOARD_CONTROL, "ChangeKeyboardControl"},
    {XCB_GET_KEYBOARD_CONTROL, "GetKeyboardControl"},
    {XCB_BELL, "Bell"},
    {XCB_CHANGE_POINTER_CONTROL, "ChangePointerControl"},
    {XCB_GET_POINTER_CONTROL, "GetPointerControl"},
    {XCB_SET_SCREEN_SAVER, "SetScreenSaver"},
    {XCB_GET_SCREEN_SAVER, "GetScreenSaver"},
    {XCB_CHANGE_HOSTS, "ChangeHosts"},
    {XCB_LIST_HOSTS, "ListHosts"},
    {XCB_SET_ACCESS_CONTROL, "SetAccessControl"},
    {XCB_SET_CLOSE_DOWN_MODE, "SetCloseDownMode"},
    {XCB_KILL_CLIENT, "KillClient"},
    {XCB_ROTATE_PROPERTIES, "RotateProperties"},
    {XCB_FORCE_SCREEN_SAVER, "ForceScreenSaver"},
    {XCB_SET_POINTER_MAPPING, "SetPointerMapping"},
    {XCB_GET_POINTER_MAPPING, "GetPointerMapping"},
    {XCB_SET_MODIFIER_MAPPING, "SetModifierMapping"},
    {XCB_GET_MODIFIER_MAPPING, "GetModifierMapping"},
    {XCB_NO_OPERATION, "NoOperation"},
};

constexpr Named coreErrors[] = {
    {XCB_REQUEST, "BadRequest"},
    {XCB_VALUE, "BadValue"},
    {XCB_WINDOW, "BadWindow"},
    {XCB_PIXMAP, "BadPixmap"},
    {XCB_ATOM, "BadAtom"},
    {XCB_CURSOR, "BadCursor"},
    {XCB_FONT, "BadFont"},
    {XCB_MATCH, "BadMatch"},
    {XCB_DRAWABLE, "BadDrawable"},
    {XCB_ACCESS, "BadAccess"},
    {XCB_ALLOC, "BadAlloc"},
    {XCB_COLORMAP, "BadColormap"},
    {XCB_G_CONTEXT, "BadGC"},
    {XCB_ID_CHOICE, "BadIDChoice"},
    {XCB_NAME, "BadName"},
    {XCB_LENGTH, "BadLength"},
    {XCB_IMPLEMENTATION, "BadImplementation"},
};

// The requests of the extensions that Lookpane sends, by minor opcode; the others are
// named by number.
constexpr Named compositeRequests[] = {
    {XCB_COMPOSITE_QUERY_VERSION, "QueryVersion"},
    {XCB_COMPOSITE_REDIRECT_WINDOW, "RedirectWindow"},
    {XCB_COMPOSITE_REDIRECT_SUBWINDOWS, "RedirectSubwindows"},
    {XCB_COMPOSITE_UNREDIRECT_WINDOW, "UnredirectWindow"},
    {XCB_COMPOSITE_UNREDIRECT_SUBWINDOWS, "UnredirectSubwindows"},
    {XCB_COMPOSITE_NAME_WINDOW_PIXMAP, "NameWindowPixmap"},
};
constexpr Named damageRequests[] = {
    {XCB_DAMAGE_QUERY_VERSION, "QueryVersion"},
    {XCB_DAMAGE_CREATE, "Create"},
    {XCB_DAMAGE_DESTROY, "Destroy"},
    {XCB_DAMAGE_SUBTRACT, "Subtract"},
};
constexpr Named renderRequests[] = {
    {XCB_RENDER_QUERY_VERSION, "QueryVersion"},
    {XCB_RENDER_QUERY_PICT_FORMATS, "QueryPictFormats"},
    {XCB_RENDER_CREATE_PICTURE, "CreatePicture"},
    {XCB_RENDER_CHANGE_PICTURE, "ChangePicture"},
    {XCB_RENDER_FREE_PICTURE, "FreePicture"},
    {XCB_RENDER_COMPOSITE, "Composite"},
    {XCB_RENDER_FILL_RECTANGLES, "FillRectangles"},
    {XCB_RENDER_SET_PICTURE_TRANSFORM, "SetPictureTransform"},
    {XCB_RENDER_SET_PICTURE_FILTER, "SetPictureFilter"},
};
constexpr Named xfixesRequests[] = {
    {XCB_XFIXES_QUERY_VERSION, "QueryVersion"},
    {XCB_XFIXES_CREATE_REGION, "CreateRegion"},
    {XCB_XFIXES_CREATE_REGION_FROM_WINDOW, "CreateRegionFromWindow"},
    {XCB_XFIXES_DESTROY_REGION, "DestroyRegion"},
    {XCB_XFIXES_INTERSECT_REGION, "IntersectRegion"},
    {XCB_XFIXES_SUBTRACT_REGION, "SubtractRegion"},
    {XCB_XFIXES_TRANSLATE_REGION, "TranslateRegion"},
    {XCB_XFIXES_SET_PICTURE_CLIP_REGION, "SetPictureClipRegion"},
};
constexpr Named shmRequests[] = {
    {XCB_SHM_QUERY_VERSION, "QueryVersion"},
    {XCB_SHM_ATTACH, "Attach"},
    {XCB_SHM_DETACH, "Detach"},
    {XCB_SHM_CREATE_PIXMAP, "CreatePixmap"},
};
constexpr Named shapeRequests[] = {
    {XCB_SHAPE_QUERY_VERSION, "QueryVersion"},
    {XCB_SHAPE_RECTANGLES, "Rectangles"},
    {XCB_SHAPE_MASK, "Mask"},
    {XCB_SHAPE_SELECT_INPUT, "SelectInput"},
};
constexpr Named randrRequests[] = {
    {XCB_RANDR_QUERY_VERSION, "QueryVersion"},
    {XCB_RANDR_GET_MONITORS, "GetMonitors"},
};
constexpr Named resRequests[] = {
    {XCB_RES_QUERY_VERSION, "QueryVersion"},
    {XCB_RES_QUERY_CLIENTS, "QueryClients"},
    {XCB_RES_QUERY_CLIENT_IDS, "QueryClientIds"},
};
constexpr Named inputRequests[] = {
    {XCB_INPUT_XI_SELECT_EVENTS, "XISelectEvents"},
    {XCB_INPUT_XI_QUERY_VERSION, "XIQueryVersion"},
};

// An extension Lookpane knows: its errors in order from its first error code, and the
// names of its requests.
struct KnownExtension
{
    xcb_extension_t *id;
    std::span<const char *const> errors;
    std::span<const Named> requests;
};

constexpr const char *damageErrors[] = {"BadDamage"};
constexpr const char *renderErrors[] = {"BadPictFormat", "BadPicture", "BadPictOp", "BadGlyphSet",
                                        "BadGlyph"};
constexpr const char *xfixesErrors[] = {"BadRegion"};
constexpr const char *shmErrors[] = {"BadShmSeg"};
constexpr const char *randrErrors[] = {"BadOutput", "BadCrtc", "BadMode", "BadProvider"};
constexpr const char *inputErrors[] = {"BadDevice", "BadEvent", "BadMode", "DeviceBusy",
                                       "BadClass"};

const std::array<KnownExtension, 9> &knownExtensions()
{
    static const std::array<KnownExtension, 9> known = {{
        {&xcb_composite_id, {}, compositeRequests},
        {&xcb_damage_id, damageErrors, damageRequests},
        {&xcb_render_id, renderErrors, renderRequests},
        {&xcb_xfixes_id, xfixesErrors, xfixesRequests},
        {&xcb_shm_id, shmErrors, shmRequests},
        {&xcb_shape_id, {}, shapeRequests},
        {&xcb_randr_id, randrErrors, randrRequests},
        {&xcb_res_id, {}, resRequests},
        {&xcb_input_id, inputErrors, inputRequests},
    }};
    return known;
}

const KnownExtension *known(std::string_view name)
{
    for (const KnownExtension &extension : knownExtensions()) {
        if (name == extension.id->name) {
            return &extension;
        }
    }
    return nullptr;
}

const char *lookup(std::span<const Named> names, int value)
{
    const auto it = std::find_if(names.begin(), names.end(),
                                 [value](const Named &named) { return named.first == value; });
    return it != names.end() ? it->second : nullptr;
}

// The extension error that `code` is on this server, if it is one Lookpane knows.
struct ExtensionError
{
    const XExtensionCodes *extension;
    const char *name;
};

std::optional<ExtensionError> extensionError(std::uint8_t code, const XErrorCodes &codes)
{
    for (const XExtensionCodes &extension : codes.extensions) {
        const KnownExtension *description = known(extension.name);
        if (description == nullptr || description->errors.empty() || code < extension.firstError) {
            continue;
        }
        const std::size_t offset = code - extension.firstError;
        if (offset < description->errors.size()) {
            return ExtensionError{&extension, description->errors[offset]};
        }
    }
    return std::nullopt;
}

bool isExtensionError(std::uint8_t code, const XErrorCodes &codes, const xcb_extension_t &id,
                      int offset)
{
    const XExtensionCodes *extension = codes.extension(id.name);
    return extension != nullptr && code == extension->firstError + offset;
}

bool isExtensionRequest(const XError &error, const XErrorCodes &codes, const xcb_extension_t &id,
                        int minorOpcode)
{
    const XExtensionCodes *extension = codes.extension(id.name);
    return extension != nullptr && error.majorOpcode == extension->majorOpcode &&
           error.minorOpcode == minorOpcode;
}

} // namespace

XError toXError(const xcb_generic_error_t &error)
{
    return {error.error_code, error.major_code, error.minor_code, error.resource_id};
}

XErrorCodes XErrorCodes::of(xcb_connection_t *connection)
{
    XErrorCodes codes;
    if (connection == nullptr || xcb_connection_has_error(connection) != 0) {
        return codes;
    }
    const xcb_setup_t *setup = xcb_get_setup(connection);
    codes.resourceIdBase = setup->resource_id_base;
    codes.resourceIdMask = setup->resource_id_mask;
    // Ask about every extension at once; those asked about before cost nothing.
    for (const KnownExtension &extension : knownExtensions()) {
        xcb_prefetch_extension_data(connection, extension.id);
    }
    for (const KnownExtension &extension : knownExtensions()) {
        const xcb_query_extension_reply_t *reply = xcb_get_extension_data(connection, extension.id);
        if (reply != nullptr && reply->present != 0) {
            codes.extensions.push_back(
                {extension.id->name, reply->major_opcode, reply->first_error});
        }
    }
    return codes;
}

bool XErrorCodes::isOwnResource(std::uint32_t id) const
{
    return id != 0 && resourceIdMask != 0 && (id & ~resourceIdMask) == resourceIdBase;
}

const XExtensionCodes *XErrorCodes::extension(std::string_view name) const
{
    const auto it =
        std::find_if(extensions.begin(), extensions.end(),
                     [name](const XExtensionCodes &extension) { return extension.name == name; });
    return it != extensions.end() ? &*it : nullptr;
}

const XExtensionCodes *XErrorCodes::extensionOfRequest(std::uint8_t majorOpcode) const
{
    const auto it = std::find_if(extensions.begin(), extensions.end(),
                                 [majorOpcode](const XExtensionCodes &extension) {
                                     return extension.majorOpcode == majorOpcode;
                                 });
    return it != extensions.end() ? &*it : nullptr;
}

XErrorClass classify(const XError &error, const XErrorCodes &codes)
{
    const bool own = codes.isOwnResource(error.resource);
    switch (error.code) {
    case XCB_WINDOW:
        // Our own windows do not vanish behind our back, and no window is numbered 0;
        // another client's window may go at any time.
        return own || error.resource == XCB_WINDOW_NONE ? XErrorClass::failure
                                                        : XErrorClass::routine;
    case XCB_PIXMAP:
    case XCB_DRAWABLE:
        // Another client's window or pixmap went away, or one of our pixmaps was never made
        // because the window it names had gone (NameWindowPixmap refused it).
        return XErrorClass::routine;
    case XCB_MATCH:
        // BadMatch names no resource. Naming the pixmap of a window that has been unmapped
        // meanwhile, or reading a window that shrank, gives it routinely; anywhere else it
        // is a wrong argument.
        if (error.majorOpcode == XCB_GET_IMAGE ||
            isExtensionRequest(error, codes, xcb_composite_id, XCB_COMPOSITE_NAME_WINDOW_PIXMAP)) {
            return XErrorClass::routine;
        }
        return XErrorClass::failure;
    default:
        break;
    }
    // Damage objects and pictures go with the drawable they watch or draw from; a region
    // made from a vanished window was never made. Whoever owns them, the cause is the
    // vanished window.
    if (isExtensionError(error.code, codes, xcb_damage_id, XCB_DAMAGE_BAD_DAMAGE) ||
        isExtensionError(error.code, codes, xcb_render_id, XCB_RENDER_PICTURE) ||
        isExtensionError(error.code, codes, xcb_xfixes_id, XCB_XFIXES_BAD_REGION)) {
        return XErrorClass::routine;
    }
    // BadAlloc, BadValue, BadAccess, BadIDChoice, BadLength, BadImplementation, the other
    // extension errors and any error nobody here knows.
    return XErrorClass::failure;
}

QString errorName(std::uint8_t code, const XErrorCodes &codes)
{
    if (const char *name = lookup(coreErrors, code)) {
        return QString::fromLatin1(name);
    }
    if (const std::optional<ExtensionError> extension = extensionError(code, codes)) {
        return QStringLiteral("%1 %2").arg(QString::fromStdString(extension->extension->name),
                                           QString::fromLatin1(extension->name));
    }
    return QStringLiteral("error %1").arg(code);
}

QString requestName(std::uint8_t majorOpcode, std::uint16_t minorOpcode, const XErrorCodes &codes)
{
    // Major opcodes up to 127 are the core protocol's; extensions get those above.
    if (majorOpcode < 128) {
        const char *name = lookup(coreRequests, majorOpcode);
        return name != nullptr ? QString::fromLatin1(name)
                               : QStringLiteral("core request %1").arg(majorOpcode);
    }
    const XExtensionCodes *extension = codes.extensionOfRequest(majorOpcode);
    if (extension == nullptr) {
        return QStringLiteral("request of an unknown extension");
    }
    const QString extensionName = QString::fromStdString(extension->name);
    const KnownExtension *description = known(extension->name);
    if (const char *name = description ? lookup(description->requests, minorOpcode) : nullptr) {
        return QStringLiteral("%1 %2").arg(extensionName, QString::fromLatin1(name));
    }
    return QStringLiteral("%1 request %2").arg(extensionName).arg(minorOpcode);
}

QString describe(const XError &error, const XErrorCodes &codes)
{
    return QStringLiteral("X error %1 (code %2) from %3 (major opcode %4, minor opcode %5), "
                          "resource 0x%6%7")
        .arg(errorName(error.code, codes))
        .arg(error.code)
        .arg(requestName(error.majorOpcode, error.minorOpcode, codes))
        .arg(error.majorOpcode)
        .arg(error.minorOpcode)
        .arg(error.resource, 0, 16)
        .arg(codes.isOwnResource(error.resource) ? QStringLiteral(" (ours)") : QString());
}

XErrorClass report(const QLoggingCategory &category, const XError &error, const XErrorCodes &codes)
{
    const XErrorClass kind = classify(error, codes);
    if (kind == XErrorClass::failure) {
        qCWarning(category).noquote() << describe(error, codes);
    } else {
        qCDebug(category).noquote() << "routine:" << describe(error, codes);
    }
    return kind;
}

std::optional<XError> checkRequest(xcb_connection_t *connection, xcb_void_cookie_t cookie,
                                   const QLoggingCategory &category)
{
    const Reply<xcb_generic_error_t> error(xcb_request_check(connection, cookie));
    if (!error) {
        return std::nullopt;
    }
    const XError value = toXError(*error);
    report(category, value, XErrorCodes::of(connection));
    return value;
}

} // namespace lookpane::x11
