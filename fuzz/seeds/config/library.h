// template library
#define NATURAL 1
#define ARTIFICIAL 2
#define RGB_RED 0x0000FF

class ObjectTemplate
{
 class Object7_house
 {
  ulObjectType=ARTIFICIAL;
  strModelFilename="data\house.p3d";
  strModelName="big ""house""";
  ulOutlineColour=RGB_RED;
  ulObjectColour=-1;
  dblxyRandomScale[]={0.1,1.3,1};
  class LodNamedSelections
  {
   Road[]={1,0,0,
           0,1,0};
  };
  class ArtificialObjects
  {
   class AObject_G0 { strName="Gate"; lbUnknown=4294967295; StartEndPos[]={1,0,2,3,0,4}; };
  };
 };
 class Object8_tree : Object7_house
 {
  strModelName=tree;
 };
};
