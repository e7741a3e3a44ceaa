#pragma once

/// \file
/// The parts that every host needs: includes every header of libZelKit, and those of libZelGL and libZelShaders. The library is
/// optional, and libZelGL does not need it. Its interface may change before version 2.0.

#include "AmbientOcclusion.h"
#include "CallCounter.h"
#include "DrawScope.h"
#include "EnvironmentBake.h"
#include "EnvironmentImage.h"
#include "EnvironmentLight.h"
#include "FrameMeter.h"
#include "HeadlessContext.h"
#include "HostStateGuard.h"
#include "InstanceTable.h"
#include "KitExport.h"
#include "MessageLog.h"
#include "OrbitCamera.h"
#include "Overlay.h"
#include "PackedScene.h"
#include "Picker.h"
#include "PictureTextures.h"
#include "PostChain.h"
#include "RenderTarget.h"
#include "SceneView.h"
#include "ShadowLayers.h"
#include "TriangleMesh.h"

#include <ZelGL/ZelGL.h>
#include <ZelShaders/ZelShaders.h>
