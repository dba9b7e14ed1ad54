//////////////////////////////////////////
// Vorlan 1.96: ObjectTemplate Library  01-02-2024
//////////////////////////////////////////
#define _ZUNA_
#define NATURAL 1
#define ARTIFICIAL 2
#define ROADS 3

#define RECTANGLE 0
#define ELLIPSE 1

#define RGB_DEFAULT -1
#define RGB_BLACK 0x000000
#define RGB_BLUE 0xFF0000
#define RGB_GREEN 0x00FF00
#define RGB_RED 0x0000FF
#define RGB_GREY 0x7F7F7F
#define RGB_DARK_GREEN 0x007F00

class ObjectTemplate
{
 class Object7_big_house_2
 {
  ulObjectType=ARTIFICIAL;
  ulMarkerType=RECTANGLE;
  strModelFilename="data\bighouse2.p3d";
  strModelName="big-house 2";
  ulOutlineColour=RGB_RED;
  ulObjectColour=0x123456;
  sbUnknownFlag=0;
  GeometryAutoCenterPos[]={0,1.5,-2};
  dblxyGeometryBounds[]={12.5,8};
  dblxyRandomScale[]={0.1,1.3,1};
  dblxyRandomRotate[]={10,10,0};
  class LodNamedSelections
  {
    Road[]={1,0,0,
            0,1,0,
            0,0,1,
            12.5,0,-3.25
  };
   XRoad[]={0.5,0,0,
            0,1,0,
            0,0,2,
            0,0,1e-05
  };
  };
  class ArtificialObjects
  {
   class AObject_G0
   {
    strName="Gate";
    lbUnknown=1;
    StartEndPos[]={1,0,2,3,0,4};
   };
   class AObject_W1
   {
    strName="Wall";
    lbUnknown=4294967295;
   };
  };
 };
 class Object8_tree
 {
  ulMarkerType=RECTANGLE;
  strModelFilename="data\tree.p3d";
  strModelName="tree";
  ulObjectColour=RGB_DARK_GREEN;
 };
};
