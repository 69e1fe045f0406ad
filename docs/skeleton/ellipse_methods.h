/// Rayleigh integral: the rule's nodes along the radius, twice as many azimuths.
int rayleigh_cw(const Ellipse& face, ElementInputs& in);
