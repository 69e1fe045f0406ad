% The field of one rectangle against the Rayleigh integral over its face. Floats for the geometry
% cost some 1e-5 of the peak. With loss the method's convention is that its field is (1 - j alpha/k)
% times the integral's.
function rectangle_test()
  addpath(fullfile(fileparts(mfilename('fullpath')), 'support'));
  seeded(7);
  for attenuation = [0 0.2 1]
    medium = kestrel.medium('water', 'attenuationdBcmMHz', attenuation);
    element = kestrel.rectangle(5e-3, 4e-3, 'center', [1e-3 2e-3 3e-3], 'euler', [0.3 -0.2 0.5], ...
                                'amplitude', 1.3, 'phase', 0.7);
    local = [(rand(2, 300) - 0.5) * 30e-3; 5e-3 + rand(1, 300) * 45e-3];
    grid = set_coordinate_grid(kestrel.detail.to_global(local, element.center, element.euler).');
    integral = surface_integral(element, grid.coordinates, medium, 40, 1e6);
    expect_close(surface_integral(element, grid.coordinates, medium, 36, 1e6), integral, 1e-12, ...
                 'the Rayleigh integral has converged');
    p = fnm_cw_single(element, grid, medium, 32, 1e6);
    alpha_over_k = attenuation * 100 * log(10) / 20 * medium.soundspeed / (2 * pi * 1e6);
    worst = expect_close(p, (1 - 1j * alpha_over_k) * integral, 2e-5, '%g dB/(cm MHz)', attenuation);
    printf('Rayleigh integral, %g dB/(cm MHz): %.1e of the peak\n', attenuation, worst);
    if attenuation == 1
      plain = max(abs(p - integral)) / max(abs(integral));
      expect(plain > 2e-3 && plain < 3.5e-3, 'without the factor: %.2e', plain);
    end
  end
end
